#pragma once

// What clang's thread safety analysis (-Wthread-safety) checks, under the names of its
// documentation (https://clang.llvm.org/docs/ThreadSafetyAnalysis.html). Other compilers ignore
// them. base/mutex.h has the classes that they are about.

#if defined(__clang__)
#define MRB_THREAD_ANNOTATION(...) __attribute__((__VA_ARGS__))
#else
#define MRB_THREAD_ANNOTATION(...)
#endif

// Classes: a lock, and an object that holds one for its lifetime.
#define MRB_CAPABILITY(name) MRB_THREAD_ANNOTATION(capability(name))
#define MRB_SCOPED_CAPABILITY MRB_THREAD_ANNOTATION(scoped_lockable)

// Members: read and written only with the lock held.
#define MRB_GUARDED_BY(lock) MRB_THREAD_ANNOTATION(guarded_by(lock))

// Locks: taken before these, never under one of them.
#define MRB_ACQUIRED_BEFORE(...) MRB_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))

// Functions: called with these locks held, and without them.
#define MRB_REQUIRES(...) MRB_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define MRB_EXCLUDES(...) MRB_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))

// Functions of the locks themselves.
#define MRB_ACQUIRE(...) MRB_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define MRB_RELEASE(...) MRB_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

// A function that the analysis leaves out; the reason stands next to it.
#define MRB_NO_THREAD_SAFETY_ANALYSIS MRB_THREAD_ANNOTATION(no_thread_safety_analysis)
