// Memory that runs out, for the test program and the libraries that it loads.
#pragma once

/// The allocation of this thread that fails next, counted from 1; 0 for none.
extern thread_local int failingAllocation;
