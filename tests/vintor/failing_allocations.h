// Makes one allocation fail, on whatever thread it happens: of operator new, or of malloc and its
// kin as this program's own objects call them.
#pragma once

namespace tly::test {

// The allocation number `nth` from now on, counted from 0, fails, once.
void fail_allocation(long nth);
bool allocation_has_failed();
// No allocation fails from now on.
void end_failing_allocation();

}  // namespace tly::test
