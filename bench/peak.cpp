// Runs a command and writes the peak memory in KiB that it, or any one process that it
// waited for, had at a time, and the processors' time in milliseconds of all of them:
//
//     peak FILE COMMAND [ARGUMENT...]

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace {

double milliseconds(const timeval &time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

} // namespace

int main(int count, char **arguments) {
    if (count < 3) {
        std::fputs("usage: peak FILE COMMAND [ARGUMENT...]\n", stderr);
        return 1;
    }
    const pid_t child = fork();
    if (child == 0) {
        execvp(arguments[2], arguments + 2);
        std::perror(arguments[2]);
        _exit(1);
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child) {
        std::perror("peak");
        return 1;
    }
    std::FILE *file = std::fopen(arguments[1], "w");
    const double time = milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
    if (file == nullptr || std::fprintf(file, "%ld %.1f\n", usage.ru_maxrss, time) < 0 ||
        std::fclose(file) != 0) {
        std::perror(arguments[1]);
        return 1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
