// Keeps exceptions from crossing into C code, in either direction.
#pragma once

#include <cxxabi.h>

namespace tly {

// The operation's result; the failure value when it throws, as when memory runs out. Not noexcept:
// a thread that is cancelled in the operation must unwind.
template <typename Result, typename Operation>
Result result_or(Result failure, Operation operation) {
  try {
    return operation();
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (...) {
    return failure;
  }
}

}  // namespace tly
