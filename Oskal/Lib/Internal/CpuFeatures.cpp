#include <Oskal/Lib/Internal/CpuFeatures.h>

#include <cpuid.h>
#include <cstdlib>

namespace Oskal { namespace Lib { namespace Internal {

namespace
{

unsigned ProbeProcessor()
{
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid(1, &a, &b, &c, &d))
        return 0;
    unsigned features = 0;
    if (d & bit_SSE2)
        features |= eCpuFeature_Sse2;
    if (c & bit_SSSE3)
        features |= eCpuFeature_Ssse3;
    if (c & bit_SSE4_1)
        features |= eCpuFeature_Sse41;
    if (c & bit_AES)
        features |= eCpuFeature_Aes;
    if (__get_cpuid_max(0, nullptr) >= 7)
    {
        __cpuid_count(7, 0, a, b, c, d);
        if (b & bit_SHA)
            features |= eCpuFeature_Sha;
    }
    return features;
}

bool PortableRequested()
{
    const char* portable = std::getenv("OSKAL_PORTABLE");
    return portable != nullptr && portable[0] == '1';
}

// A function-local static, so that code running during other modules' static initialisation
// already sees the probed values.
struct CpuState
{
    unsigned ulProcessor = ProbeProcessor();
    volatile long lEnabled = PortableRequested() ? 0 : 1;
};

CpuState& State()
{
    static CpuState s_state;
    return s_state;
}

} // namespace

bool HasCpuFeatures(unsigned ulFeatures)
{
    const CpuState& state = State();
    return state.lEnabled != 0 && (state.ulProcessor & ulFeatures) == ulFeatures;
}

void SetHardwarePathsEnabled(bool bEnabled)
{
    State().lEnabled = bEnabled ? 1 : 0;
}

}}} // namespace Oskal::Lib::Internal
