// Every function of a list in random order, from several threads, while the folder
// changes: nothing breaks, every text is whole, and a reload is announced.

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <list>
#include <random>
#include <sstream>
#include <thread>

#include "support/client.h"
#include "support/folder.h"

using support::Client;
using support::Event;
using support::Folder;

namespace fs = std::filesystem;

namespace {

constexpr int FOLDERS = 12;
constexpr int FILES = 20;

class Dice {
  public:
    explicit Dice(unsigned seed) : random_(seed) {}
    // 0 to `sides` - 1.
    int operator()(int sides) { return static_cast<int>(random_() % static_cast<unsigned>(sides)); }
    template <typename T, std::size_t Count>
    const T &oneOf(const T (&choices)[Count]) {
        return choices[(*this)(static_cast<int>(Count))];
    }

  private:
    std::minstd_rand random_;
};

// A library of media that a thread changes at random until it is stopped. The library
// exists at the end.
class Upheaval {
  public:
    Upheaval(const Folder &place, unsigned seed) : place_(place), dice_(seed) {
        thread_ = std::thread([this] {
            while (!over_) {
                change();
            }
            fs::create_directories(library());
        });
    }
    ~Upheaval() { end(); }
    Upheaval(const Upheaval &) = delete;
    Upheaval &operator=(const Upheaval &) = delete;

    void end() {
        over_ = true;
        if (thread_.joinable()) {
            thread_.join();
        }
    }

  private:
    [[nodiscard]] std::string library() const { return place_.path("library"); }
    std::string folder() { return library() + "/" + std::to_string(dice_(FOLDERS + 2)); }
    std::string file() { return folder() + "/" + std::to_string(dice_(FILES * 2)) + ".jpg"; }

    void change() {
        std::error_code ignored; // what is not there cannot be changed
        switch (dice_(12)) {
        case 0:
            fs::remove(file(), ignored);
            break;
        case 1:
            fs::rename(file(), file(), ignored);
            break;
        case 2:
            fs::remove_all(folder(), ignored);
            break;
        case 3:
            fs::rename(folder(), folder() + "/moved", ignored);
            break;
        case 4:
            fs::rename(folder(), place_.path("outside"), ignored);
            fs::remove_all(place_.path("outside"), ignored);
            break;
        case 5: // the scanned folder itself, for a moment
            if (dice_(8) == 0) {
                fs::rename(library(), place_.path("outside"), ignored);
                fs::remove_all(place_.path("outside"), ignored);
                fs::create_directories(library(), ignored);
            }
            break;
        default: {
            const std::string name = file();
            fs::create_directories(fs::path(name).parent_path(), ignored);
            place_.file(fs::relative(name, place_.path()).string(), static_cast<std::size_t>(dice_(9)));
        }
        }
    }

    const Folder &place_;
    Dice dice_;
    std::atomic<bool> over_ = false;
    std::thread thread_;
};

// One script's worth of lists, on which one thread calls functions.
class Visitor {
  public:
    Visitor(std::string library, unsigned seed) : library_(std::move(library)), dice_(seed), clients_(3) {}

    void command() {
        client_ = &*std::next(clients_.begin(), dice_(static_cast<int>(clients_.size())));
        static constexpr void (Visitor::*COMMANDS[])() = {
            &Visitor::reopen,      &Visitor::cancel,   &Visitor::close,    &Visitor::setStyle,
            &Visitor::setStyle,    &Visitor::navigate, &Visitor::navigate, &Visitor::navigate,
            &Visitor::askNumbers,  &Visitor::readItem, &Visitor::readItem, &Visitor::moveCursor,
            &Visitor::findItem,    &Visitor::play,     &Visitor::rate,     &Visitor::findByMediaId,
            &Visitor::readAnEntry,
        };
        (this->*dice_.oneOf(COMMANDS))();
    }

  private:
    // Every code is one that the functions are documented to return.
    static bool works(int code) {
        EXPECT_LE(code, MRB_ERR_NONE);
        EXPECT_GE(code, MRB_ERR_CORRUPT);
        return code == MRB_ERR_NONE;
    }

    // A text comes with success, and is a JSON object; empty when there was none.
    static Json::Value take(int code, char *const &text) {
        Json::Value value;
        if (works(code)) {
            value = support::parse(text);
            EXPECT_TRUE(value.isObject());
        } else {
            EXPECT_EQ(text, nullptr);
        }
        std::free(text);
        return value;
    }

    [[nodiscard]] mrb_agent_handler_h handle() const { return client_->handle; }

    void reopen() {
        static const char *const TYPES[] = {"", "IMAGE", "FOLDER", "ALL"};
        static const char *const SORTS[] = {"", "NAME", "DATE DESC", "SIZE-", "TYPE"};
        static const char *const WORDS[] = {"", "", "1"};
        works(client_->open({.path = library_,
                             .contentType = dice_.oneOf(TYPES),
                             .sortCategory = dice_.oneOf(SORTS),
                             .keyWord = dice_.oneOf(WORDS)}));
    }
    void cancel() { works(mrb_cancel_request_list_v2(handle())); }
    void close() { works(mrb_disconnect_v2(std::exchange(client_->handle, 0))); }

    void setStyle() {
        mrb_page_param_h param = nullptr;
        ASSERT_EQ(mrb_create_page_param(&param), MRB_ERR_NONE);
        mrb_param_set_page_style_mask(param, dice_(2) + 16 * dice_(9));
        mrb_param_set_page_style_order(param, dice_(2));
        mrb_param_set_page_style_group_index(param, dice_(6) - 3);
        mrb_param_set_page_style_row(param, dice_(5));
        mrb_param_set_page_style_column(param, dice_(6));
        mrb_param_set_page_style_padding(param, dice_(2) == 0);
        works(mrb_set_page_style_v2(handle(), param));
        EXPECT_EQ(mrb_destroy_page_param(param), MRB_ERR_NONE);
    }

    void navigate() { works(mrb_set_navigation_v2(handle(), dice_(5))); }

    void askNumbers() {
        int number = 0;
        if (works(mrb_get_navigation_v2(handle(), &number))) {
            EXPECT_TRUE(number == MRB_NAVIGATION_FLAT || number == MRB_NAVIGATION_FOLDER);
        }
        if (works(mrb_get_group_count_v2(handle(), &number))) {
            EXPECT_GE(number, 0);
        }
        if (works(mrb_get_item_count_by_type_v2(handle(), dice_(16), &number))) {
            EXPECT_GE(number, 0);
        }
    }

    void readItem() { readAt(dice_(450) - 2); }

    // A list only grows while it is read: what is counted can be read. Sorting keeps the number.
    void readAnEntry() {
        int count = 0;
        if (works(mrb_get_item_count_v2(handle(), &count)) && count > 0) {
            readAt(dice_(count));
        }
    }

    void readAt(int index) {
        char *text = nullptr;
        const Json::Value item = take(mrb_get_item_v2(handle(), index, &text), text);
        if (item.isObject()) {
            EXPECT_TRUE(item["name"].isString() && item["type"].isInt());
            mediaId_ = item["media_id"].asString();
        }
    }

    void moveCursor() { works(mrb_move_to_index_v2(handle(), dice_(300) - 2)); }

    void findItem() {
        int page = 0;
        if (works(mrb_get_page_index_v2(handle(), mediaId_.c_str(), &page))) {
            EXPECT_GE(page, 0);
        }
    }

    void play() {
        char *text = nullptr;
        take(mrb_prepare_play_data_v2(handle(), &text), text);
    }
    void rate() {
        char *text = nullptr;
        take(mrb_get_rating_info_v2(handle(), &text), text);
    }

    void findByMediaId() {
        char *text = nullptr;
        if (works(mrb_get_storage_id_v2(library_.c_str(), &text))) {
            EXPECT_STRNE(text, "");
        }
        std::free(text);
    }

    const std::string library_;
    Dice dice_;
    std::list<Client> clients_;
    Client *client_ = nullptr;
    std::string mediaId_; // of some item seen before
};

// Whether an instance of inotify waits for something in "/", as the device service's does
// for the folders that this program offers as cameras.
bool isOfDevices(const fs::path &descriptor) {
    struct stat root {};
    stat("/", &root);
    std::ostringstream wanted;
    wanted << " ino:" << std::hex << root.st_ino << " sdev:";
    std::ifstream info("/proc/self/fdinfo" / descriptor.filename());
    for (std::string line; std::getline(info, line);) {
        if (line.find(wanted.str()) != std::string::npos) {
            return true;
        }
    }
    return false;
}

// How many instances of inotify this process has for lists.
int watches() {
    int count = 0;
    for (const auto &entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone; // the listing's own descriptor is
        const bool isInotify = fs::read_symlink(entry, gone).string().starts_with("anon_inode:inotify");
        count += isInotify && !isOfDevices(entry.path()) ? 1 : 0;
    }
    return count;
}

// Whether the watches of closed lists are gone. They go one after the other and
// the kernel takes about a millisecond for each, while it has few for a user.
bool watchesAreGone() {
    const auto limit = std::chrono::steady_clock::now() + support::LIMIT;
    while (std::chrono::steady_clock::now() < limit) {
        const int free = watches() == 0 ? inotify_init1(IN_CLOEXEC) : -1;
        if (free >= 0) {
            ::close(free);
            return true;
        }
        std::this_thread::yield();
    }
    return false;
}

} // namespace

class RandomCommands : public testing::TestWithParam<unsigned> {};

TEST_P(RandomCommands, CommandsFromThreeThreadsWhileTheFolderChanges) {
    constexpr int COMMANDS = 1000;
    const Folder place;
    place.pictures(1, FILES);
    place.folder("library");
    Upheaval upheaval(place, GetParam());
    std::vector<std::thread> threads;
    for (unsigned number = 1; number <= 3; ++number) {
        threads.emplace_back([&place, seed = GetParam() * 10 + number] {
            Visitor visitor(place.path("library"), seed);
            for (int command = 0; command < COMMANDS; ++command) {
                visitor.command();
            }
        });
    }
    std::ranges::for_each(threads, &std::thread::join);
    upheaval.end();
    ASSERT_TRUE(watchesAreGone());

    // Changes and removals are still reported afterwards.
    Client client;
    EXPECT_EQ(client.list(place.path("library")).event, MRB_EVENT_LIST_READY);
    const auto until = [&](mrb_event_e wanted) {
        client.waitFor([&](const std::vector<Event> &events) { return events.back().event == wanted; });
    };
    place.file("library/one more.jpg");
    until(MRB_EVENT_LIST_CHANGED);
    fs::remove_all(place.path("library"));
    until(MRB_EVENT_DEVICE_REMOVED);
}

// A failing run prints its seed; put that here to repeat it.
INSTANTIATE_TEST_SUITE_P(Seed, RandomCommands, testing::Values(1, 2, 3), testing::PrintToStringParamName());
