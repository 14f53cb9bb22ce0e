// Writing a bitmap file, against one write of the same bytes. Arguments: folders to
// write in; by default one in memory, where the file system costs least.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "MRBThumbnailAdapter.h"
#include "timing.h"

namespace {

using bench::Clock;
using bench::median;
using bench::milliseconds;
using bench::require;
using Bytes = std::vector<unsigned char>;

constexpr int TURNS = 101;
constexpr std::size_t HEADER_BYTES = 54;
constexpr mode_t MODE = 0644;

double bitmapTime(const Bytes &pixels, int width, int height, const std::string &path) {
    const auto began = Clock::now();
    require(
        MRBBridge::CMRBThumbnailAdapter::m_BmpWrite(pixels.data(), nullptr, width, height, path.c_str()) == 0,
        "the bitmap was not written");
    return milliseconds(began);
}

double writeTime(const Bytes &bytes, const std::string &path) {
    const auto began = Clock::now();
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, MODE);
    require(file >= 0 && write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) &&
                close(file) == 0,
            "the bytes were not written");
    return milliseconds(began);
}

void compare(const std::string &folder, int width, int height) {
    const std::string path = folder + "/bitmap-" + std::to_string(getpid());
    const std::size_t size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
    const Bytes pixels(size, 1);
    const Bytes bytes(size + HEADER_BYTES, 1);
    std::vector<double> times[3];
    for (int turn = 0; turn <= TURNS; ++turn) {
        const bool is_first = turn % 2 == 0;
        double ours = is_first ? bitmapTime(pixels, width, height, path) : 0;
        const double floor = writeTime(bytes, path);
        ours = is_first ? ours : bitmapTime(pixels, width, height, path);
        if (turn > 0) { // the first makes the file
            times[0].push_back(ours);
            times[1].push_back(floor);
            times[2].push_back(ours / floor);
        }
    }
    unlink(path.c_str());
    std::printf("  bitmap of %4dx%-4d in %-12s %9.3f ms  floor %9.3f ms  ratio %.2f\n", width, height,
                folder.c_str(), median(times[0]), median(times[1]), median(times[2]));
}

} // namespace

int main(int argc, char **argv) {
    std::vector<std::string> folders(argv + 1, argv + argc);
    if (folders.empty()) {
        folders.emplace_back("/dev/shm");
    }
    std::puts("writing a bitmap file, floor: one write of the same bytes");
    for (const std::string &folder : folders) {
        compare(folder, 1920, 1080);
        compare(folder, 256, 144);
    }
    return 0;
}
