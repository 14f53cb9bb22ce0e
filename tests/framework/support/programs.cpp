#include "support/programs.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

extern char **environ;

namespace support {
namespace {

// Under the name that the package gives it; a shorter one may be another program's.
constexpr const char *CONVERT = "convert-im6.q16";

std::vector<std::string> command(const char *program, const std::vector<std::string> &options,
                                 const std::vector<std::string> &arguments) {
    std::vector<std::string> words = {program};
    words.insert(words.end(), options.begin(), options.end());
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

} // namespace

std::string outputOf(const std::vector<std::string> &command) {
    std::vector<char *> words;
    for (const std::string &word : command) {
        words.push_back(const_cast<char *>(word.c_str()));
    }
    words.push_back(nullptr);
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 1);
    pid_t child = -1;
    const int spawned = posix_spawnp(&child, words[0], &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    std::string output;
    std::array<char, 1 << 16> piece{};
    for (ssize_t got = 0; (got = read(ends[0], piece.data(), piece.size())) > 0;) {
        output.append(piece.data(), static_cast<std::size_t>(got));
    }
    close(ends[0]);
    int status = -1;
    if (spawned == 0) {
        waitpid(child, &status, 0);
    }
    EXPECT_EQ(status, 0) << command[0] << " failed, or is not installed";
    return output;
}

std::string commandOf(const std::string &program) {
    const char *const wrapper = std::getenv("QUILL_RUN");
    return (wrapper == nullptr ? "" : '"' + std::string(wrapper) + "\" ") + '"' + program + '"';
}

void run(const std::vector<std::string> &command) { outputOf(command); }

void convert(const std::vector<std::string> &arguments) { run(command(CONVERT, {}, arguments)); }

void ffmpeg(const std::vector<std::string> &arguments) {
    run(command("ffmpeg", {"-nostdin", "-loglevel", "error", "-y"}, arguments));
}

void makePicture(const std::string &path, int width, int height, const std::vector<std::string> &options) {
    const std::string size = std::to_string(width) + "x" + std::to_string(height);
    const std::string half = std::to_string(width / 2) + "," + std::to_string(height / 2);
    std::vector<std::string> words = {"-seed",   "7",       "-size", "100x75", "plasma:tomato-steelblue",
                                      "-resize", size + "!"};
    // It looks different after each rotation.
    words.insert(words.end(), {"-fill", "navy", "-draw", "rectangle 0,0 " + half, "-fill", "gold", "-draw",
                               "circle " + half + " " + std::to_string(width / 2 + height / 4) + "," +
                                   std::to_string(height / 2)});
    words.insert(words.end(), options.begin(), options.end());
    words.push_back(path);
    convert(words);
}

} // namespace support
