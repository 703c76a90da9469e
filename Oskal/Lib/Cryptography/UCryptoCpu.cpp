#include <Oskal/Lib/Cryptography/UCryptoCpu.h>

#include <Oskal/Lib/Internal/CpuFeatures.h>

namespace Oskal { namespace Lib { namespace Cryptography {

using namespace Internal;

void SetHardwareAcceleration(int bEnabled)
{
    SetHardwarePathsEnabled(bEnabled != 0);
}

// Both hardware paths also use SSSE3 shuffles and SSE4.1 blends and extracts.
int IsShaAccelerated()
{
    return HasCpuFeatures(eCpuFeature_Sha | eCpuFeature_Ssse3 | eCpuFeature_Sse41) ? 1 : 0;
}

int IsAesAccelerated()
{
    return HasCpuFeatures(eCpuFeature_Aes | eCpuFeature_Ssse3 | eCpuFeature_Sse41) ? 1 : 0;
}

int IsVectorAccelerated()
{
    return HasCpuFeatures(eCpuFeature_Ssse3 | eCpuFeature_Sse2) ? 1 : 0;
}

}}} // namespace Oskal::Lib::Cryptography
