#pragma once

#include <gtest/gtest.h>

#include <string>

namespace support {

// Properties of a test's process that other programs must not notice.
enum class Surroundings {
    PLAIN,               // a process without threads and lists, whose log goes to its standard error
    MOUNTS,              // and in which it can mount and unmount, unseen from outside
    NETWORK,             // and with a network of its own, whose loopback interface can be brought up
    LOOPS,               // and in which root can mount files
    DEVICES,             // a plain one whose devices are those of a UMockdevTestbed
    LIMITS,              // and with limits of its own under /proc/sys/user
    SCRIPTED_CAMERA,     // a plain one that has a ScriptedCamera in place of libgphoto2
    SCRIPTED_USB_CAMERA, // and whose devices are those of a UMockdevTestbed
};

// A test whose body runs in a process of its own:
//
//   TEST_F(Something, Happens) {
//       if (!inside(Surroundings::MOUNTS)) { return; }
//       ...
//   }
//
// The first call of inside runs this one test in such a process, reports what failed
// there, and returns false; there it returns true. A machine that refuses to give a
// process what it needs fails the test with what to change; the test is skipped where the
// suites' runner has found that the machine lacks it.
class OwnProcess : public testing::Test {
  protected:
    static bool inside(Surroundings needed);
};

// The beginning of a command that the shell runs in such surroundings. Where the machine
// refuses them it is empty, and the test is skipped or has failed.
std::string commandFor(Surroundings needed);

// Skips the test, and returns true, where the suites' runner found that this machine lacks
// what it needs: a name of tests/runner/surroundings.mjs.
bool isSkippedWithout(const std::string &need);

// Whether this process has a file of that name mapped into its memory.
bool isMapped(const std::string &fileName);

} // namespace support
