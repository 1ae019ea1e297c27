#ifndef ovUtility_detail_NewOutOfLine_hxx_seen
#define ovUtility_detail_NewOutOfLine_hxx_seen

#include <utility>

namespace ovUtility {
    /// `new T(args...)` in a function of its own.  ROOT's allocator behind
    /// TObject's operator new keeps no frame pointer, so a stack unwound
    /// through it loses the function that called it: made here, an object
    /// the caller hands out or leaves behind is reported with the caller's
    /// name, which the leak suppressions of the intended leaks rely on.
    template <typename T, typename... Args>
    __attribute__((noinline)) T* NewOutOfLine(Args&&... args) {
        return new T(std::forward<Args>(args)...);
    }
}

#endif
