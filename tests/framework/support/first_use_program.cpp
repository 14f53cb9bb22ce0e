// Uses two parts of the framework for the first time at once, each on a thread of its
// own, in a process in which nothing was used before.
//
//   first_use_program FOLDER ONE OTHER MICROSECONDS
//
// ONE and OTHER are readers, decoders, films, dlna or cameras; the second one begins so many
// microseconds after the first. FOLDER holds photo.jpg, plain.png and film.mp4. Prints what
// was missing, and ends with status 0 when both succeeded.

#include <chrono>
#include <cstdlib>
#include <future>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>

#include "mrb/storage.h"
#include "support/client.h"
#include "support/fields.h"
#include "support/thumbnails.h"

namespace {

// None of these is destroyed: the framework may call them to the end of the process.
support::Client &makeClient() { return *new support::Client; }

void expect(bool isSo, const char *what) {
    if (!isSo) {
        throw std::runtime_error(what);
    }
}

void readField(const std::string &folder) {
    support::Client &client = makeClient();
    expect(client.list(folder).event == MRB_EVENT_LIST_READY, "the folder's list");
    expect(!support::textField(client, support::indexOf(client, "photo.jpg"), "TITLE").second.empty(),
           "the photograph's title");
}

void decode(const std::string &path) {
    static support::Thumbnails &client = *new support::Thumbnails;
    expect(client.get(path).code == 0, path.c_str());
}

void startDlna(const std::string & /*folder*/) {
    static auto &started = *new std::promise<bool>;
    mrb_Init_dlna_service([](int state, void *) { started.set_value(state == MRB_SERVICE_STATE_STARTED); },
                          nullptr);
    expect(started.get_future().get(), "the DLNA service");
}

void listCamera(const std::string & /*folder*/) {
    support::Client &client = makeClient();
    const support::ListOptions options{.source = "SOURCE_PTP", .more = [](mrb_general_param_h param) {
                                           mrb_param_set_general_device_value(param, 1);
                                       }};
    expect(client.list(options).event == MRB_EVENT_LIST_READY && client.count() > 0, "the camera's list");
}

using Use = void (*)(const std::string &folder);

const std::map<std::string, Use> &uses() {
    static const std::map<std::string, Use> all{
        {"readers", readField},
        {"decoders", [](const std::string &folder) { decode(folder + "/plain.png"); }},
        {"films", [](const std::string &folder) { decode(folder + "/film.mp4"); }},
        {"dlna", startDlna},
        {"cameras", listCamera},
    };
    return all;
}

} // namespace

int main(int count, char **arguments) {
    if (count != 5) {
        return 2;
    }
    const std::string folder = arguments[1];
    setenv("MRB_CAMERAS", folder.c_str(), 1);
    const Use one = uses().at(arguments[2]);
    const Use other = uses().at(arguments[3]);
    const auto begin = std::chrono::steady_clock::now() + std::chrono::milliseconds(5);
    const auto later = begin + std::chrono::microseconds(std::strtol(arguments[4], nullptr, 10));
    std::future<void> first = std::async(std::launch::async, [&] {
        std::this_thread::sleep_until(begin);
        one(folder);
    });
    std::future<void> second = std::async(std::launch::async, [&] {
        std::this_thread::sleep_until(later);
        other(folder);
    });
    int status = 0;
    for (std::future<void> *each : {&first, &second}) {
        try {
            each->get();
        } catch (const std::exception &failure) {
            std::cout << "Not there: " << failure.what() << std::endl;
            status = 1;
        }
    }
    std::exit(status);
}
