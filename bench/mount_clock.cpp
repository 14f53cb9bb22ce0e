// Mounts and unmounts an empty file system repeatedly and prints when, for
// devices.mjs. Needs a mount namespace in which that is allowed.
//
//   mount_clock FOLDER     reads a line for each step and prints the time before
//                          it in nanoseconds of the monotonic clock: mount, unmount, mount ...

#include <sys/mount.h>

#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>

int main(int count, char **arguments) {
    if (count != 2) {
        std::cerr << "usage: mount_clock FOLDER\n";
        return 2;
    }
    const std::string folder = arguments[1];
    bool mounted = false;
    for (std::string line; std::getline(std::cin, line); mounted = !mounted) {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        const int failed =
            mounted ? umount(folder.c_str()) : mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=1m");
        if (failed != 0) {
            std::perror("mount_clock");
            return 1;
        }
        std::cout << std::chrono::nanoseconds(now).count() << std::endl;
    }
    return 0;
}
