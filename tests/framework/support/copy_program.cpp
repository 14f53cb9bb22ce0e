// Copies all files of a folder to another and prints how that ended, for tests that
// need a process of their own: one that has its own mounts, or that ends during the copy.
//
//   copy_program FROM TO [grow FILE | unmount | look]
//
// prints "CODE" when the copy was refused, else "EVENT DONE TOTAL ENTRIES NAME":
// the last event, its counts, how many entries the destination has then, and the
// file named. "grow" makes a file larger after it was listed; "unmount" takes the
// destination away once the copy is under way. "look" reads a field of the last item.

#include <sys/mount.h>

#include <iostream>
#include <string>
#include <vector>

#include "support/client.h"
#include "support/fields.h"
#include "support/sharing.h"

namespace {

constexpr std::size_t GROWN = 2'000'000;

} // namespace

int main(int count, char **arguments) {
    const std::vector<std::string> words(arguments, arguments + count);
    if (words.size() < 3) {
        return 2;
    }
    const std::string &to = words[2];
    const std::string action = words.size() > 3 ? words[3] : "";
    // Neither is destroyed: the framework may call them to the end of the process.
    static auto &client = *new support::Client;
    static auto &sharing = *new support::Sharing;
    support::selectEverything(client, words[1]);
    if (action == "grow") {
        support::writeNoise(words[1] + "/" + words.at(4), GROWN, 1);
    }
    if (action == "unmount") {
        sharing.whenStarted([to](const support::ShareEvent & /*event*/) { umount2(to.c_str(), MNT_DETACH); });
    }
    if (action == "look") {
        // The first ones are folders, whose fields need no reader.
        support::textField(client, client.count() - 1, "TITLE");
    }
    const int code = sharing.copy(client, to);
    if (code != MRB_ERR_NONE) {
        std::cout << code;
        return 0;
    }
    const support::ShareEvent end = sharing.waitForEnd();
    std::cout << end.event << ' ' << end.status.done_file_count << ' ' << end.status.total_file_count << ' '
              << support::tree(to).size() << ' ' << end.name();
    return 0;
}
