#pragma once

#include <functional>

namespace support {

// How often something is done that must leave nothing behind, unless the environment
// variable QUILL_TEST_ROUNDS says otherwise.
int roundsOf(int usual);

// Does it again and again, after some rounds that fill caches and pools. A test failure
// when descriptors or threads are more afterwards, and are not given back in a long time, or
// when the memory in use has grown by more than `bytesPerRound`, which sanitizers do not say.
void expectNothingLeft(int rounds, const std::function<void()> &round, double bytesPerRound = 1024);

} // namespace support
