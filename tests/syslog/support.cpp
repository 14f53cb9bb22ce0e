#include "support.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int TIMEOUT_MS = 60'000; // only a failing test waits that long

bool readable(int descriptor) {
    pollfd waiting{descriptor, POLLIN, 0};
    return poll(&waiting, 1, TIMEOUT_MS) == 1;
}

} // namespace

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "syslog-test-XXXXXX").string();
    path_ = mkdtemp(name.data()) == nullptr ? "" : name;
    EXPECT_FALSE(path_.empty()) << strerror(errno);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Listener::Listener(std::string path, int type)
    : path_(std::move(path)), socket_(socket(AF_UNIX, type | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    unlink(path_.c_str());
    EXPECT_EQ(bind(socket_, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0)
        << strerror(errno);
    if (type == SOCK_STREAM) {
        EXPECT_EQ(listen(socket_, 4), 0) << strerror(errno);
    }
}

Listener::~Listener() { stop(); }

void Listener::stop() {
    if (socket_ >= 0) {
        close(socket_);
        unlink(path_.c_str());
    }
    socket_ = -1;
}

std::string Listener::datagram() {
    if (!readable(socket_)) {
        ADD_FAILURE() << "no datagram came";
        return "";
    }
    std::string bytes(1 << 20, '\0');
    const ssize_t length = recv(socket_, bytes.data(), bytes.size(), 0);
    bytes.resize(length < 0 ? 0 : static_cast<size_t>(length));
    return bytes;
}

std::string Listener::passedFile() {
    if (!readable(socket_)) {
        ADD_FAILURE() << "no datagram came";
        return "";
    }
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    char byte = 0;
    iovec data{&byte, 1};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    EXPECT_GE(recvmsg(socket_, &message, MSG_CMSG_CLOEXEC), 0) << strerror(errno);
    const cmsghdr *passed = CMSG_FIRSTHDR(&message);
    if (passed == nullptr) {
        ADD_FAILURE() << "the datagram brought no file";
        return "";
    }
    int file = -1;
    memcpy(&file, CMSG_DATA(passed), sizeof file);
    lseek(file, 0, SEEK_SET);
    std::string bytes = readAll(file);
    close(file);
    return bytes;
}

std::string Listener::wholeStream() {
    if (!readable(socket_)) {
        ADD_FAILURE() << "no client connected";
        return "";
    }
    const int client = accept(socket_, nullptr, nullptr);
    std::string bytes = readAll(client);
    close(client);
    return bytes;
}

std::string readAll(int descriptor) {
    std::string all;
    std::array<char, 65536> chunk{};
    for (;;) {
        const ssize_t length = read(descriptor, chunk.data(), chunk.size());
        if (length > 0) {
            all.append(chunk.data(), static_cast<size_t>(length));
        } else if (length == 0 || errno != EINTR) {
            return all;
        }
    }
}

std::string pattern(size_t count) {
    std::string text;
    text.reserve(count + 16);
    while (text.size() < count) {
        text += std::to_string(text.size()) + ' ';
    }
    text.resize(count);
    return text;
}

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

namespace {

void setVariable(const char *name, const char *value) {
    if (value == nullptr) {
        unsetenv(name);
    } else {
        setenv(name, value, 1);
    }
}

} // namespace

ChildResult runLoggingChild(const char *log, const std::vector<std::string> &arguments, const char *tags) {
    std::array<int, 2> out{};
    std::array<int, 2> error{};
    EXPECT_EQ(pipe(out.data()), 0);
    EXPECT_EQ(pipe(error.data()), 0);
    std::vector<const char *> words{LOGGING_CHILD};
    for (const std::string &argument : arguments) {
        words.push_back(argument.c_str());
    }
    words.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(out[1], 1);
        dup2(error[1], 2);
        for (const int descriptor : {out[0], out[1], error[0], error[1]}) {
            close(descriptor);
        }
        setVariable("QUILL_LOG", log);
        setVariable("QUILL_LOG_TAGS", tags);
        execv(LOGGING_CHILD, const_cast<char **>(words.data()));
        _exit(127);
    }
    close(out[1]);
    close(error[1]);
    ChildResult result;
    std::thread drain([&] { result.error = readAll(error[0]); });
    result.out = readAll(out[0]);
    drain.join();
    close(out[0]);
    close(error[0]);
    int status = 0;
    waitpid(child, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}
