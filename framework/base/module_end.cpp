// Nothing that a module links is torn down at the end of the process: the memory goes
// with the process, and a thread may still be at work in these libraries, or about to load
// them. The process's own handler, which waits for the threads, cannot come first, since
// handlers run in the reverse order of their registration and these libraries would
// register theirs late. A module's libraries look for functions in the module first
// (RTLD_DEEPBIND), and here they find a registration that does nothing.

namespace {

using Destructor = void(void *);

} // namespace

// As specified in the Itanium C++ ABI, section 3.3.6.3; 0 is success.
extern "C" [[gnu::visibility("default")]] int forgetDestructor(Destructor *, void *,
                                                               void *) __asm__("__cxa_atexit");

int forgetDestructor(Destructor * /*destructor*/, void * /*object*/, void * /*library*/) { return 0; }
