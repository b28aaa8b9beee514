#pragma once

// Coroutines for clang before 15, which looks for what they are made of where the draft of the standard had
// it.
#if defined(__clang__) && __clang_major__ < 15 && !defined(__cpp_impl_coroutine)
#define __cpp_impl_coroutine 201902L  // NOLINT(bugprone-reserved-identifier): what the library asks for
#include <coroutine>
namespace std::experimental {  // NOLINT(cert-dcl58-cpp)
using std::coroutine_handle;
using std::coroutine_traits;
using std::noop_coroutine;
using std::suspend_always;
using std::suspend_never;
}  // namespace std::experimental
#endif
