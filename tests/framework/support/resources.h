#pragma once

#include <functional>

namespace support {

// How often a test repeats an operation: `usual` times, `complete` times where the
// environment has QUILL_TEST_LONG=1, as it has under ./test --all.
int repetitions(int usual, int complete);

// Repeats an operation, after some rounds that fill caches and pools. A test failure
// when descriptors or threads are more afterwards and stay so until the timeout, or
// when the memory in use has grown by more than `bytesPerRound`, which sanitizers do not report.
void expectNothingLeft(int rounds, const std::function<void()> &round, double bytesPerRound = 1024);

} // namespace support
