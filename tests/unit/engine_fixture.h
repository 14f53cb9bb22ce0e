#pragma once
// The script engine for white-box tests: the fixture, and helpers for script values.

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <v8.h>

#include "bridge_log.h"
#include "quill/bridge.h"
#include "recorder.h"

/// The isolate and context that the tests run in; set by the addon.
v8::Isolate *testIsolate();
v8::Local<v8::Context> testContext();

/// Runs `code` and returns its value; returns the text of a script string.
v8::Local<v8::Value> evaluate(const std::string &code);
std::string textOf(const Bridge::ScriptObject &value);

/// Runs GLib's default main context until nothing is ready.
void drainMainLoop();

/// Arguments of a call, from values: {evaluate("1"), ...}.
class Values final : public Bridge::Arguments {
  public:
    Values(std::initializer_list<v8::Local<v8::Value>> values) : values_(values) {}

    int length() const override { return static_cast<int>(values_.size()); }
    v8::Local<v8::Value> at(int index) const override {
        return index < 0 || index >= length() ? v8::Undefined(testIsolate()).As<v8::Value>()
                                              : values_[static_cast<size_t>(index)];
    }

  private:
    std::vector<v8::Local<v8::Value>> values_;
};

/// A script function that records the arguments of its calls, as JSON text.
class ReceivedCalls {
  public:
    ReceivedCalls();
    v8::Local<v8::Value> function() const { return function_; }
    std::string calls() const; ///< "[[\"text\"],[]]"

  private:
    v8::Local<v8::Value> function_;
};

/// Starts with an empty trace and log, inside a handle scope.
class EngineTest : public testing::Test {
  protected:
    EngineTest() : scope_(testIsolate()) { forget(); }

    static void forget() {
        recording::clear();
        recording::clearLogLines();
    }

    /// "name(argument,...)" of each call so far.
    static std::vector<std::string> calls();

  private:
    v8::HandleScope scope_;
};
