#include "support/sharing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <random>
#include <utility>

namespace fs = std::filesystem;

namespace support {

bool isLastOfShare(mrb_event_e event) {
    return event == MRB_EVENT_SHARE_DONE || event == MRB_EVENT_SHARE_FAILED ||
           event == MRB_EVENT_SHARE_STOPPED || event == MRB_EVENT_SHARE_NO_SPACE ||
           event == MRB_EVENT_DEVICE_REMOVED;
}

ShareEvent CopyTest::copyEverything() {
    EXPECT_EQ(mrb_select_all_v2(client.handle), MRB_ERR_NONE);
    return sharing.copyAll(client, to.path());
}

void Sharing::whenStarted(std::function<void(const ShareEvent &)> act) {
    onEvent = [act = std::move(act)](const ShareEvent &event) {
        if (event.event == MRB_EVENT_SHARE_STARTED) {
            act(event);
        }
    };
}

int Sharing::copy(const Client &list, const std::string &destination) {
    return start(MRB_SHARE_COPY, list.handle, [&](mrb_share_param_h param) {
        EXPECT_EQ(mrb_param_set_share_dest_dev_path(param, destination.c_str()), MRB_ERR_NONE);
    });
}

int Sharing::send(const Client &list, const std::string &server) {
    return start(MRB_SHARE_DLNA, list.handle, [&](mrb_share_param_h param) {
        EXPECT_EQ(mrb_param_set_share_dest_dev_type(param, MRB_SHARE_DEVICE_DLNA), MRB_ERR_NONE);
        EXPECT_EQ(mrb_param_set_share_dlna_device_id(param, server.c_str()), MRB_ERR_NONE);
        EXPECT_EQ(mrb_param_set_share_dlna_service_provider(param, ""), MRB_ERR_NONE);
    });
}

int Sharing::fetch(const Client &list, const std::string &server, const std::string &destination) {
    return start(MRB_SHARE_DLNA, list.handle, [&](mrb_share_param_h param) {
        EXPECT_EQ(mrb_param_set_share_source_dev_type(param, MRB_SHARE_DEVICE_DLNA), MRB_ERR_NONE);
        EXPECT_EQ(mrb_param_set_share_dlna_device_id(param, server.c_str()), MRB_ERR_NONE);
        EXPECT_EQ(mrb_param_set_share_dest_dev_path(param, destination.c_str()), MRB_ERR_NONE);
    });
}

int Sharing::start(int type, mrb_agent_handler_h list, const std::function<void(mrb_share_param_h)> &set) {
    {
        const std::lock_guard guard(lock_);
        events_.clear();
    }
    mrb_share_param_h param = nullptr;
    mrb_share_user_data_param_h userData = nullptr;
    EXPECT_EQ(mrb_create_share_param(&param), MRB_ERR_NONE);
    EXPECT_EQ(mrb_create_share_user_data_param(&userData), MRB_ERR_NONE);
    EXPECT_EQ(mrb_param_set_share_user_data_udata(userData, this), MRB_ERR_NONE);
    EXPECT_EQ(mrb_param_set_share_user_data_cb(userData, receive), MRB_ERR_NONE);
    if (set) {
        set(param);
    }
    const int code = mrb_batch_process_v2(type, param, list, userData, &handle);
    EXPECT_EQ(mrb_destroy_share_param(param), MRB_ERR_NONE);
    return code;
}

ShareEvent Sharing::copyAll(const Client &list, const std::string &destination) {
    const int code = copy(list, destination);
    EXPECT_EQ(code, MRB_ERR_NONE);
    return code == MRB_ERR_NONE ? waitForEnd() : ShareEvent{};
}

ShareEvent Sharing::waitForEnd() {
    return waitFor([](const std::vector<ShareEvent> &events) {
        return !events.empty() && isLastOfShare(events.back().event);
    });
}

ShareEvent Sharing::waitFor(const std::function<bool(const std::vector<ShareEvent> &)> &isEnough) {
    std::unique_lock guard(lock_);
    const bool came = arrived_.wait_for(guard, LIMIT, [&] { return isEnough(events_); });
    EXPECT_TRUE(came) << "the awaited event did not come";
    return came ? events_.back() : ShareEvent{};
}

std::vector<ShareEvent> Sharing::events() {
    const std::lock_guard guard(lock_);
    return events_;
}

bool Sharing::receive(void *self, mrb_share_handler_h share, mrb_event_e event,
                      mrb_share_status_info_s *status) {
    auto &sharing = *static_cast<Sharing *>(self);
    const ShareEvent received{share, event, *status, std::this_thread::get_id(),
                              std::chrono::steady_clock::now()};
    if (sharing.onEvent) {
        sharing.onEvent(received);
    }
    const std::lock_guard guard(sharing.lock_);
    sharing.events_.push_back(received);
    sharing.arrived_.notify_all();
    return true;
}

void selectEverything(Client &client, const std::string &path) {
    client.list(path);
    EXPECT_EQ(mrb_select_all_v2(client.handle), MRB_ERR_NONE);
}

void select(const Client &client, const std::vector<std::string> &names) {
    const std::vector<std::string> all = client.all("name");
    for (const std::string &name : names) {
        const auto index = std::ranges::find(all, name) - all.begin();
        EXPECT_EQ(mrb_toggle_select_v2(client.handle, static_cast<int>(index)), MRB_ERR_NONE) << name;
    }
}

void writeNoise(const fs::path &file, std::size_t size, unsigned seed) {
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary);
    std::mt19937_64 random(seed);
    std::vector<std::uint64_t> block(8192);
    std::ranges::generate(block, random);
    while (size > 0) {
        // Each block has its number, so that none is like another.
        ++block.front();
        const std::size_t piece = std::min(size, block.size() * sizeof block[0]);
        out.write(reinterpret_cast<const char *>(block.data()), static_cast<std::streamsize>(piece));
        size -= piece;
    }
    EXPECT_TRUE(out.flush()) << file;
}

std::map<std::string, std::string> contents(const std::string &folder) {
    std::map<std::string, std::string> files;
    for (const auto &entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file() && !entry.is_symlink()) {
            std::string bytes(static_cast<std::size_t>(entry.file_size()), '\0');
            std::ifstream(entry.path(), std::ios::binary)
                .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
            files[entry.path().lexically_relative(folder)] = std::move(bytes);
        }
    }
    return files;
}

std::vector<std::string> tree(const std::string &folder) {
    std::vector<std::string> paths;
    for (const auto &entry : fs::recursive_directory_iterator(folder)) {
        paths.push_back(entry.path().lexically_relative(folder));
    }
    std::ranges::sort(paths);
    return paths;
}

std::string bytesOf(const fs::path &file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

bool areEqual(const fs::path &one, const fs::path &other) {
    std::ifstream first(one, std::ios::binary);
    std::ifstream second(other, std::ios::binary);
    std::vector<char> a(1UL << 20);
    std::vector<char> b(1UL << 20);
    while (first && second) {
        first.read(a.data(), static_cast<std::streamsize>(a.size()));
        second.read(b.data(), static_cast<std::streamsize>(b.size()));
        if (first.gcount() != second.gcount() ||
            !std::equal(a.begin(), a.begin() + first.gcount(), b.begin())) {
            return false;
        }
    }
    return first.eof() && second.eof();
}

} // namespace support
