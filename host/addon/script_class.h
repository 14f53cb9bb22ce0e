#pragma once
// A bridge's script class, and the native parts of its objects.

#include <string>

#include <v8.h>

#include "quill/script_bridge.h"

/// Creates the constructor of the bridge's class in the isolate's current context
/// and announces that context to the bridge. Empty, with a script error pending,
/// when V8 fails. The bridge must exist to the end of the program.
v8::MaybeLocal<v8::Function> makeScriptClass(v8::Isolate *isolate, v8::Local<v8::Context> context,
                                             Bridge::ScriptBridge *bridge);

enum class Release { Done, AlreadyReleased, NotOurs };

/// Destroys the native part of a script object and clears its internal field.
Release releaseObject(v8::Isolate *isolate, v8::Local<v8::Value> value);

/// Sets whether the functions kept for a script object keep the program alive.
Release setObjectReferenced(v8::Isolate *isolate, v8::Local<v8::Value> value, bool referenced);
