// Logs as its arguments say and prints the result of each call; the tests read
// both. QUILL_LOG is read when the library is loaded, hence a process of its own.

#include <system_log.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

int say(const char *text) { return system_log_print(SYSTEM_LOG_MAIN, SYSTEM_LOG_NOTICE, "TEST", "%s", text); }

/// Destroyed after main, and after every static object that was constructed later.
struct LastWords {
    LastWords() = default;
    LastWords(const LastWords &) = delete;
    LastWords &operator=(const LastWords &) = delete;
    ~LastWords() {
        if (enabled) {
            say("last words");
        }
    }
    bool enabled = false;
} lastWords;

std::string pattern(size_t count) {
    std::string text;
    while (text.size() < count) {
        text += std::to_string(text.size()) + ' ';
    }
    text.resize(count);
    return text;
}

/// Four threads, `count` lines each: "<thread> <number> xxx...".
void chorus(int count) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([=] {
            const std::string filler(static_cast<size_t>(100 + 2000 * thread),
                                     static_cast<char>('a' + thread));
            for (int number = 0; number < count; ++number) {
                system_log_print(SYSTEM_LOG_MAIN, SYSTEM_LOG_NOTICE, "TEST", "%d %d %s", thread, number,
                                 filler.c_str());
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

/// Forks while another thread logs without a pause; each child logs one line.
int forkWhileLogging(int count) {
    std::atomic<bool> done{false};
    std::thread noise([&] {
        while (!done) {
            say("noise");
        }
    });
    int failures = 0;
    for (int number = 0; number < count; ++number) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(30); // a child that waits for a lock for ever is ended
            say("child");
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        failures += status == 0 ? 0 : 1;
    }
    done = true;
    noise.join();
    return failures;
}

// An invalid multibyte text: printf's %ls cannot render it.
constexpr wchar_t unprintable[] = {static_cast<wchar_t>(0x7fffffff), 0};

} // namespace

int main(int argc, char **argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    const int count = argc > 2 ? atoi(argv[2]) : 0;
    if (what == "say") {
        printf("%d\n", say(argv[2]));
    } else if (what == "as") {
        printf("%d\n", system_log_print(SYSTEM_LOG_MAIN, SYSTEM_LOG_NOTICE, argv[2], "%s", argv[3]));
    } else if (what == "long") {
        printf("%d\n", say(pattern(static_cast<size_t>(count)).c_str()));
    } else if (what == "chorus") {
        chorus(count);
    } else if (what == "fork") {
        printf("%d\n", forkWhileLogging(count));
    } else if (what == "unprintable") {
        printf("%d\n", system_log_print(SYSTEM_LOG_MAIN, SYSTEM_LOG_NOTICE, "TEST", "%ls", unprintable));
    } else if (what == "written") {
        int written = -77;
        system_log_print(SYSTEM_LOG_MAIN, SYSTEM_LOG_NOTICE, "TEST", "four%n", &written);
        printf("%d\n", written);
    } else if (what == "no tag") {
        printf("%d\n", system_log_print(SYSTEM_LOG_MAIN, SYSTEM_LOG_NOTICE, nullptr, "text"));
    } else if (what == "errno") {
        errno = ENOTTY;
        say("keeps errno");
        printf("%d\n", errno == ENOTTY ? 1 : 0);
    } else if (what == "last words") {
        lastWords.enabled = true;
    } else {
        return 2;
    }
    return 0;
}
