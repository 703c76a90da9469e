#pragma once

#include <Oskal/Lib/BIM/UMemoryImage.h>

#include "Support/Thrown.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace OskalTests {

inline void Set(Oskal::Lib::BIM::UMemoryImage& image, unsigned int uiAddress, const std::string& bytes)
{
    image.SetData(uiAddress, reinterpret_cast<const unsigned char*>(bytes.data()),
                  static_cast<unsigned int>(bytes.size()));
}

inline std::string Get(Oskal::Lib::BIM::UMemoryImage& image, unsigned int uiAddress, unsigned int uiLength)
{
    std::string bytes(uiLength, '?');
    image.GetData(uiAddress, reinterpret_cast<unsigned char*>(&bytes[0]), uiLength);
    return bytes;
}

// "start-end" of every region in list order, hexadecimal.
inline std::string Layout(const Oskal::Lib::BIM::UMemoryImage& image)
{
    std::ostringstream text;
    text << std::hex;
    for (unsigned long i = 0; image.GetMemoryRegion(i) != nullptr; ++i)
    {
        const Oskal::Lib::BIM::UMemoryRegion* region = image.GetMemoryRegion(i);
        text << (i ? " " : "") << region->GetAddress() << '-'
             << static_cast<unsigned long long>(region->GetAddress()) + region->GetLength();
    }
    return text.str();
}

const wchar_t* const PastTheTop = L"The range runs past the end of the 32-bit address space.";

} // namespace OskalTests
