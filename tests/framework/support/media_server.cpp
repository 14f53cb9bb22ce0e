#include "support/media_server.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <chrono>
#include <deque>
#include <fstream>
#include <initializer_list>
#include <iostream>
#include <sstream>
#include <thread>
#include <vector>

#include "support/client.h"
#include "support/scripted_server.h"

extern char **environ;

namespace support {
namespace {

void write(const std::string &path, std::initializer_list<std::string> lines) {
    std::ofstream file(path);
    for (const std::string &line : lines) {
        file << line << '\n';
    }
}

// Its own group, so that what it starts ends with it.
pid_t start(std::vector<std::string> words, const std::string &home) {
    std::vector<std::string> variables = {
        "HOME=" + home,          "XDG_CONFIG_HOME=" + home, "XDG_CACHE_HOME=" + home,
        "XDG_DATA_HOME=" + home, "XDG_RUNTIME_DIR=" + home, "PATH=/usr/sbin:/usr/bin:/sbin:/bin"};
    const auto pointers = [](std::vector<std::string> &texts) {
        std::vector<char *> all;
        for (std::string &text : texts) {
            all.push_back(text.data());
        }
        all.push_back(nullptr);
        return all;
    };
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", 0, 0);
    posix_spawn_file_actions_addopen(&actions, 1, (home + "/output").c_str(), 0101, 0600);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    pid_t process = -1;
    EXPECT_EQ(posix_spawnp(&process, words[0].c_str(), &actions, &attributes, pointers(words).data(),
                           pointers(variables).data()),
              0)
        << words[0] << " is not installed";
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return process;
}

// The child of a process whose program has this name; -1: there is none.
pid_t childNamed(pid_t parent, const std::string &name) {
    const std::string task = std::to_string(parent);
    std::ifstream children("/proc/" + task + "/task/" + task + "/children");
    for (pid_t child = 0; children >> child;) {
        std::string program;
        std::getline(std::ifstream("/proc/" + std::to_string(child) + "/comm"), program);
        if (program == name) {
            return child;
        }
    }
    return -1;
}

// Whether a child has ended; it stays to be waited for.
bool hasEnded(pid_t child) {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           info.si_pid == child;
}

} // namespace

MediaServer::MediaServer(Kind kind, const std::string &name, const std::string &mediaFolder) {
    const std::string home = state_.path();
    if (kind == Kind::MINIDLNA) {
        // What it announces is valid for twice the interval and ten seconds more.
        write(home + "/minidlna.conf",
              {"network_interface=lo", "media_dir=" + mediaFolder, "db_dir=" + home, "log_dir=" + home,
               "friendly_name=" + name, "port=8200", "inotify=no", "notify_interval=1"});
        process_ = start({"minidlnad", "-S", "-f", home + "/minidlna.conf", "-P", home + "/pid"}, home);
        return;
    }
    write(home + "/rygel.conf",
          {"[general]",           "ipv6=false",        "interface=lo",
           "upnp-enabled=true",   "allow-upload=true", "media-engine=librygel-media-engine-simple.so",
           "[MediaExport]",       "enabled=true",      "title=" + name,
           "uris=" + mediaFolder, "[Playbin]",         "enabled=false",
           "[Tracker]",           "enabled=false",     "[Tracker3]",
           "enabled=false",       "[GstLaunch]",       "enabled=false",
           "[External]",          "enabled=false"});
    process_ = start({"dbus-run-session", "--", "rygel", "-n", "lo", "-c", home + "/rygel.conf"}, home);
}

MediaServer::~MediaServer() {
    // Before stop(), which ends it.
    const bool hasCrashed = process_ > 0 && hasEnded(process_);
    stop();
    if (testing::Test::HasFailure()) {
        std::cerr << (hasCrashed ? "The media server ended during the test.\n" : "The media server:\n")
                  << written();
    }
}

std::string MediaServer::written() const {
    constexpr std::size_t LINES = 100;
    std::ostringstream text;
    for (const char *name : {"output", "minidlna.log"}) {
        std::deque<std::string> lines;
        std::ifstream stream(state_.path(name));
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
            if (lines.size() > LINES) {
                lines.pop_front();
            }
        }
        text << "Its file \"" << name << (lines.empty() ? "\" is empty or missing.\n" : "\":\n");
        for (const std::string &line : lines) {
            text << "    " << line << '\n';
        }
    }
    return text.str();
}

void MediaServer::waitUntilScanned() {
    const auto deadline = std::chrono::steady_clock::now() + LIMIT;
    for (std::string page; std::chrono::steady_clock::now() < deadline;) {
        page = fetch("http://127.0.0.1:8200/");
        if (!page.empty() && page.find("scan in progress") == std::string::npos) {
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ADD_FAILURE() << "minidlna is still scanning its folder";
}

void MediaServer::stop() {
    if (process_ > 0) {
        // Without its bus a server would end before it has sent its byebye.
        const pid_t below = childNamed(process_, "rygel");
        ::kill(below > 0 ? below : process_, SIGTERM);
        await();
    }
}

void MediaServer::kill() {
    if (process_ > 0) {
        ::kill(-process_, SIGKILL);
        await();
    }
}

void MediaServer::await() {
    waitpid(process_, nullptr, 0);
    process_ = -1;
}

} // namespace support
