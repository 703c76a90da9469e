#include <Oskal/Lib/Cryptography/UCryptoCpu.h>

#include <cpuid.h>

namespace Oskal { namespace Lib { namespace Cryptography {

namespace
{

struct CpuFeatures
{
    int sha;
    int aes;
    int ssse3;

    CpuFeatures() : sha(0), aes(0), ssse3(0)
    {
        unsigned int a = 0, b = 0, c = 0, d = 0;
        if (!__get_cpuid(1, &a, &b, &c, &d))
            return;
        // Both paths also use SSSE3 shuffles and SSE4.1 blends and extracts.
        const int sse41 = (c & bit_SSSE3) && (c & bit_SSE4_1);
        ssse3 = (c & bit_SSSE3) && (d & bit_SSE2) ? 1 : 0;
        aes = sse41 && (c & bit_AES) ? 1 : 0;
        if (__get_cpuid_max(0, nullptr) >= 7)
        {
            __cpuid_count(7, 0, a, b, c, d);
            sha = sse41 && (b & bit_SHA) ? 1 : 0;
        }
    }
};

const CpuFeatures& Features()
{
    static const CpuFeatures s_features;
    return s_features;
}

volatile long g_lEnabled = 1;

} // namespace

void SetHardwareAcceleration(int bEnabled)
{
    g_lEnabled = bEnabled ? 1 : 0;
}

int IsShaAccelerated()
{
    return g_lEnabled && Features().sha;
}

int IsAesAccelerated()
{
    return g_lEnabled && Features().aes;
}

int IsVectorAccelerated()
{
    return g_lEnabled && Features().ssse3;
}

}}} // namespace Oskal::Lib::Cryptography
