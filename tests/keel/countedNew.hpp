#pragma once
// Counts what is allocated by new in a whole program; stands on nothing.

/// Number of allocations that the calling thread has made.
long long allocationsOfThisThread();
