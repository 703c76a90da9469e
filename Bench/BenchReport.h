#pragma once

// Timing and the one-line report format shared by the benchmark programs:
//   BENCH <name> <value> <unit> ref <reference name> <reference value> ratio <value/reference>
#include <windows.h>

#include <cstdio>

namespace OskalBench {

// Seconds since an arbitrary start, from the performance counter.
inline double Now()
{
    LARGE_INTEGER frequency, counter;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&counter);
    return static_cast<double>(counter.QuadPart) / static_cast<double>(frequency.QuadPart);
}

// Best time of several runs of f(), in seconds: the least disturbed run is the fairest figure.
template <typename F>
double BestOf(int runs, F f)
{
    double best = 1e30;
    for (int i = 0; i < runs; ++i)
    {
        double start = Now();
        f();
        double elapsed = Now() - start;
        if (elapsed < best)
            best = elapsed;
    }
    return best;
}

inline void Report(const char* name, double value, const char* unit, const char* refName, double refValue)
{
    std::printf("BENCH %s %.2f %s ref %s %.2f ratio %.3f\n", name, value, unit, refName, refValue,
                refValue != 0 ? value / refValue : 0.0);
    std::fflush(stdout);
}

} // namespace OskalBench
