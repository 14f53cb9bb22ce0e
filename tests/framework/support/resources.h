#pragma once

#include <functional>

namespace support {

// How often a test repeats an operation: `usual` times, `complete` times where the
// environment has QUILL_TEST_LONG=1, as it has under ./test --all.
int repetitions(int usual, int complete);

// Does it again and again, after some rounds that fill caches and pools. A test failure
// when descriptors or threads are more afterwards, and are not given back in a long time, or
// when the memory in use has grown by more than `bytesPerRound`, which sanitizers do not say.
void expectNothingLeft(int rounds, const std::function<void()> &round, double bytesPerRound = 1024);

} // namespace support
