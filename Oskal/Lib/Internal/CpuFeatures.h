#pragma once

namespace Oskal { namespace Lib { namespace Internal {

// Instruction-set extensions that the fast paths use.
enum CpuFeature : unsigned
{
    eCpuFeature_Sse2 = 1u << 0,
    eCpuFeature_Ssse3 = 1u << 1,
    eCpuFeature_Sse41 = 1u << 2,
    eCpuFeature_Aes = 1u << 3,
    eCpuFeature_Sha = 1u << 4,
};

// The one probe of the processor (CPUID, read once) and the one switch that forces every
// portable path. True when the processor has all of ulFeatures and hardware paths are enabled.
bool HasCpuFeatures(unsigned ulFeatures);

// false forces the portable paths everywhere, so that tests can check both against the same
// data; true goes back to what the processor offers. The environment variable
// OSKAL_PORTABLE=1 starts a process with the portable paths. Not meant to be switched while
// other threads hash, encipher or convert text.
void SetHardwarePathsEnabled(bool bEnabled);

}}} // namespace Oskal::Lib::Internal
