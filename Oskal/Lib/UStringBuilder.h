#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UString.h>

namespace Oskal { namespace Lib {

// A UString with spare room: the buffer grows in multiples of the grow step, so appending does
// not copy the whole text every time. The buffer is always owned, never the shared empty one.
class OSKAL_LIB_API UStringBuilder : public UString
{
public:
    UStringBuilder();
    UStringBuilder(const wchar_t* pszText);
    UStringBuilder(const wchar_t* pszText, unsigned long ulCount);
    UStringBuilder(const UStringBuilder& other);

    // operator=(const wchar_t*) stays the base's; it reaches Assign below through the table.
    using UString::operator=;
    UStringBuilder& operator=(const UStringBuilder& other) override;
    UStringBuilder& operator=(const UString& other) override;
    void Append(unsigned long ulCodePoint) override;
    void Append(wchar_t wc) override;
    void Append(const wchar_t* pszText, unsigned long ulCount) override;
    void Append(const wchar_t* pszText) override;
    void Assign(const wchar_t* pszText, unsigned long ulCount) override;
    void Assign(const wchar_t* pszText) override;
    // Shrinks the buffer back to one grow step.
    void Clear() override;
    // Trims in place; the capacity never changes.
    void Trim() override;
    // As Clear(), but the buffer is only shrunk when bShrink is non-zero.
    virtual void Clear(int bShrink);

private:
    // Makes the buffer hold at least ulCapacity units; pUnits follows the text if it points into it.
    void GrowTo(unsigned long ulCapacity, const wchar_t*& pUnits);
    void AppendUnits(const wchar_t* pUnits, unsigned long ulCount);
    void AssignUnits(const wchar_t* pUnits, unsigned long ulCount);

    unsigned long m_ulGrowStep;
};

}} // namespace Oskal::Lib
