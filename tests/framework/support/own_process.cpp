#include "support/own_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>

#include "support/programs.h"

namespace support {
namespace {

constexpr const char *VARIABLE = "FRAMEWORK_TEST_INSIDE";

struct Isolation {
    const char *unshare;
    const char *trial;
    bool rootOnly;
};

// Root of an own namespace has more rights than root on some machines, and fewer on others.
constexpr Isolation MOUNTS[] = {
    {"unshare --user --map-root-user --mount", "mount -t tmpfs tmpfs /tmp", false},
    {"unshare --mount", "mount -t tmpfs tmpfs /tmp", true},
};
constexpr Isolation LOOPS[] = {{"unshare --mount", "mount -t tmpfs tmpfs /tmp", true}};
constexpr Isolation LIMITS[] = {
    {"unshare --user --map-root-user", "sh -c 'echo 99 >/proc/sys/user/max_inotify_watches'", false},
};
constexpr Isolation NETWORKS[] = {
    {"unshare --user --map-root-user --net", "ip link set lo up", false},
    {"unshare --net", "ip link set lo up", true},
};

constexpr const char *SCRIPTED = "env LD_LIBRARY_PATH='" SCRIPTED_FOLDER "'";

// Runs a command of the shell; its status, and its output.
int run(const std::string &command, std::string &output) {
    // NOLINTNEXTLINE(bugprone-command-processor): a fixed command with the test's own name.
    FILE *pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        output = "popen failed";
        return -1;
    }
    std::array<char, 4096> part{};
    for (std::size_t size = 0; (size = fread(part.data(), 1, part.size(), pipe)) > 0;) {
        output.append(part.data(), size);
    }
    return pclose(pipe);
}

// A library to preload, after the sanitizer's own where this program has one: that must be
// the first.
std::string preloadedWithSanitizer(const std::string &library) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        for (const char *sanitizer : {"/libasan.so", "/libtsan.so"}) {
            if (line.find(sanitizer) != std::string::npos) {
                return line.substr(line.find('/')) + ' ' + library;
            }
        }
    }
    return library;
}

// The command's beginning; empty when the machine refuses, and then the test is skipped
// where the need is known to be missing, or has failed.
std::string commandFor(std::span<const Isolation> choices, const char *need) {
    std::string output;
    for (const Isolation &choice : choices) {
        if ((!choice.rootOnly || geteuid() == 0) &&
            run(std::string(choice.unshare) + " " + choice.trial, output) == 0) {
            return choice.unshare;
        }
    }
    if (isSkippedWithout(need)) {
        return {};
    }
    ADD_FAILURE() << "This test cannot run here:\n"
                  << output
                  << "It needs namespaces. Let users have them (sysctl kernel.unprivileged_userns_clone=1 "
                     "kernel.apparmor_restrict_unprivileged_userns=0 user.max_user_namespaces=1000), or run "
                     "the tests as root outside of a container that forbids it.";
    return {};
}

void skip(const std::string &need) {
    testing::Test::RecordProperty("missing", need); // read by the suites' runner
    GTEST_SKIP() << "missing: " << need;
}

} // namespace

bool isSkippedWithout(const std::string &need) {
    const char *missing = std::getenv("QUILL_TESTS_MISSING");
    if (missing == nullptr ||
        (' ' + std::string(missing) + ' ').find(' ' + need + ' ') == std::string::npos) {
        return false;
    }
    skip(need);
    return true;
}

std::string commandFor(Surroundings needed) {
    switch (needed) {
    case Surroundings::MOUNTS:
        return commandFor(MOUNTS, "mounts");
    case Surroundings::LIMITS:
        return commandFor(LIMITS, "limits");
    case Surroundings::NETWORK:
        return commandFor(NETWORKS, "networks");
    case Surroundings::LOOPS:
        return commandFor(LOOPS, "mounts");
    case Surroundings::DEVICES:
        return "env LD_PRELOAD='" + preloadedWithSanitizer("libumockdev-preload.so.0") + "'";
    case Surroundings::SCRIPTED_CAMERA:
        return SCRIPTED;
    case Surroundings::SCRIPTED_USB_CAMERA:
        return SCRIPTED + (' ' + commandFor(Surroundings::DEVICES));
    case Surroundings::PLAIN:
        break;
    }
    return "env";
}

bool OwnProcess::inside(Surroundings needed) {
    if (std::getenv(VARIABLE) != nullptr) {
        return true;
    }
    const std::string command = commandFor(needed);
    if (command.empty()) {
        return false;
    }
    const testing::TestInfo &test = *testing::UnitTest::GetInstance()->current_test_info();
    // Where something else runs this program, the link leads to that.
    const std::string program = std::getenv("QUILL_RUN") == nullptr
                                    ? std::filesystem::read_symlink("/proc/self/exe").string()
                                    : std::filesystem::absolute(program_invocation_name).string();
    std::string output;
    // The parent reports the test, and its settings split the tests.
    const int status = run(command + " env -u GTEST_OUTPUT -u GTEST_TOTAL_SHARDS -u GTEST_SHARD_INDEX " +
                               VARIABLE + "=1 QUILL_LOG=stderr " + commandOf(program) + " --gtest_filter='" +
                               test.test_suite_name() + "." + test.name() + "'",
                           output);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << output;
    EXPECT_NE(output.find("[  PASSED  ] 1 test."), std::string::npos) << output;
    return false;
}

bool isMapped(const std::string &fileName) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.ends_with('/' + fileName)) {
            return true;
        }
    }
    return false;
}

} // namespace support
