// Fast paths entered from stacks that are only 4-byte aligned, as Windows callers leave them.
#include "Support/SkewedStack.h"

#include <Oskal/Lib/Cryptography/USHA256.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace Oskal::Lib;

TEST(SkewedStack, Sha256)
{
    std::vector<unsigned char> data(4096, 0x5a);
    OskalTests::RunOnSkewedStacks("SHA-256", [&] {
        Internal::ReleasePtr<Cryptography::USHA256> sha(Cryptography::USHA256::Create());
        sha->HashCore(data.data(), static_cast<long>(data.size()));
        sha->HashFinal();
    });
}

} // namespace
