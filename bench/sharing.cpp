// Copying against cp, and selecting, at the framework's own interface. cp leaves its
// bytes in memory where the framework waits for the device, so it is measured alone
// and with a sync of the files that it wrote. Arguments: folders to copy in.

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <random>
#include <string>
#include <vector>

#include "mrb/share.h"
#include "timing.h"

namespace {

namespace fs = std::filesystem;
using bench::Clock;
using bench::median;
using bench::milliseconds;
using bench::require;

constexpr int TURNS = 9;

void writeNoise(const fs::path &file, std::size_t size) {
    static auto &random = *new std::mt19937_64(1);
    std::vector<std::uint64_t> words(size / 8);
    std::ranges::generate(words, std::ref(random));
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char *>(words.data()), static_cast<std::streamsize>(size / 8 * 8));
}

// The callbacks of a list and of a share, each with a promise.
bool onList(void *ready, mrb_agent_handler_h /*list*/, mrb_event_e event, int /*reserved*/,
            const char * /*data*/) {
    if (event == MRB_EVENT_LIST_READY) {
        static_cast<std::promise<void> *>(ready)->set_value();
    }
    return true;
}

bool onShare(void *done, mrb_share_handler_h /*share*/, mrb_event_e event,
             mrb_share_status_info_s * /*status*/) {
    if (event != MRB_EVENT_SHARE_STARTED && event != MRB_EVENT_SHARE_PROGRESS) {
        static_cast<std::promise<mrb_event_e> *>(done)->set_value(event);
    }
    return true;
}

mrb_agent_handler_h openList(const std::string &path) {
    mrb_general_param_h param = nullptr;
    mrb_create_general_param(&param);
    mrb_param_set_general_source(param, "SOURCE_MSC");
    mrb_param_set_general_path(param, path.c_str());
    std::promise<void> ready;
    mrb_agent_handler_h list = 0;
    require(mrb_request_list_v2(param, onList, &ready, &list) == MRB_ERR_NONE, "the list was not opened");
    mrb_destroy_general_param(param);
    ready.get_future().wait();
    return list;
}

double copyTime(mrb_agent_handler_h list, const std::string &to) {
    std::promise<mrb_event_e> done;
    mrb_share_param_h param = nullptr;
    mrb_share_user_data_param_h userData = nullptr;
    mrb_share_handler_h share = 0;
    mrb_create_share_param(&param);
    mrb_param_set_share_dest_dev_path(param, to.c_str());
    mrb_create_share_user_data_param(&userData);
    mrb_param_set_share_user_data_udata(userData, &done);
    mrb_param_set_share_user_data_cb(userData, onShare);
    const auto began = Clock::now();
    require(mrb_batch_process_v2(MRB_SHARE_COPY, param, list, userData, &share) == MRB_ERR_NONE,
            "the copy was not started");
    require(done.get_future().get() == MRB_EVENT_SHARE_DONE, "the copy failed");
    const double took = milliseconds(began);
    mrb_destroy_share_param(param);
    return took;
}

double commandTime(const std::string &command) {
    const auto began = Clock::now();
    require(std::system(command.c_str()) == 0, command.c_str());
    return milliseconds(began);
}

// Measures two ways to copy in turns, each into an empty folder.
void compare(const char *name, const std::string &to, const std::function<double()> &subject,
             const std::function<double()> &floor) {
    const auto measure = [&](const std::function<double()> &way) {
        fs::remove_all(to);
        fs::create_directory(to);
        sync();
        return way();
    };
    std::vector<double> times[3];
    for (int turn = 0; turn <= TURNS; ++turn) {
        const bool isFirst = turn % 2 == 0;
        double ours = isFirst ? measure(subject) : 0;
        const double theirs = measure(floor);
        ours = isFirst ? ours : measure(subject);
        if (turn > 0) {
            times[0].push_back(ours);
            times[1].push_back(theirs);
            times[2].push_back(ours / theirs);
        }
    }
    std::printf("  %-44s %8.1f ms  floor %8.1f ms  ratio %.2f\n", name, median(times[0]), median(times[1]),
                median(times[2]));
}

void compareCopies(const std::string &where) {
    const std::string home = where + "/sharing-" + std::to_string(getpid());
    const std::string to = home + "/to";
    fs::create_directories(home + "/large");
    writeNoise(home + "/large/film.mp4", 300'000'000);
    for (int file = 0; file < 2000; ++file) {
        const std::string folder = home + "/small/" + std::to_string(file / 100);
        fs::create_directories(folder);
        writeNoise(folder + "/" + std::to_string(file) + ".jpg", 20'000);
    }
    std::printf("copies in %s\n", where.c_str());
    for (const char *kind : {"large", "small"}) {
        const std::string from = home + "/" + kind;
        const std::string what = std::string(kind) == "large" ? "300 MB in one file" : "2,000 files of 20 kB";
        const mrb_agent_handler_h list = openList(from);
        mrb_select_all_v2(list);
        std::string copy = "cp -rp ";
        copy.append(from).append("/. ").append(to);
        std::string save = " && find ";
        save.append(to).append(" -type f -exec sync {} +");
        compare((what + ", floor: cp").c_str(), to, [&] { return copyTime(list, to); },
                [&] { return commandTime(copy); });
        compare((what + ", floor: cp && sync FILES").c_str(), to, [&] { return copyTime(list, to); },
                [&] { return commandTime(copy + save); });
        mrb_disconnect_v2(list);
    }
    fs::remove_all(home);
}

void measureSelection(const std::string &where) {
    constexpr int ITEMS = 100'000;
    const std::string home = where + "/selecting-" + std::to_string(getpid());
    fs::create_directories(home);
    for (int file = 0; file < ITEMS; ++file) {
        const std::ofstream made(home + "/DSC_" + std::to_string(file) + ".jpg");
    }
    const mrb_agent_handler_h list = openList(home);
    const auto measure = [&](const char *name, const std::function<void()> &work) {
        std::vector<double> times;
        for (int turn = 0; turn < TURNS; ++turn) {
            const auto began = Clock::now();
            work();
            times.push_back(milliseconds(began));
        }
        std::printf("  %-44s %8.3f ms  %8.1f ns an item\n", name, median(times), median(times) * 1e6 / ITEMS);
    };
    std::printf("selecting in a list of 100,000 items\n");
    measure("mrb_select_all_v2", [&] { mrb_select_all_v2(list); });
    measure("mrb_deselect_all_v2, all selected", [&] { mrb_deselect_all_v2(list); });
    measure("move and toggle one by one, as SelectAll walks", [&] {
        for (int index = 0; index < ITEMS; ++index) {
            mrb_move_to_index_v2(list, index);
            mrb_toggle_select_v2(list, index);
        }
    });
    measure("mrb_get_selected_state_v2 of each", [&] {
        bool selected = false;
        for (int index = 0; index < ITEMS; ++index) {
            mrb_get_selected_state_v2(list, index, &selected);
        }
    });
    mrb_page_param_h page = nullptr;
    mrb_create_page_param(&page);
    mrb_param_set_page_style_mask(page, MRB_PAGE_STYLE_GROUP_TYPE);
    mrb_param_set_page_style_group_index(page, MRB_GROUP_ALL);
    mrb_set_page_style_v2(list, page);
    mrb_destroy_page_param(page);
    bool selected = false;
    measure("mrb_select_group_v2 of a group with all", [&] { mrb_select_group_v2(list, 0); });
    measure("state of the heading of a group with all",
            [&] { mrb_get_selected_state_v2(list, 0, &selected); });
    fs::remove_all(home);
}

} // namespace

int main(int count, char **arguments) {
    std::vector<std::string> places(arguments + 1, arguments + count);
    if (places.empty()) {
        places = {"/dev/shm", fs::temp_directory_path()};
    }
    std::ranges::for_each(places, compareCopies);
    measureSelection(places.front());
    return 0;
}
