#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UString.h>

namespace Oskal { namespace Lib { namespace Exceptions {

// Root of every exception the library throws. Thrown by value, caught by reference.
class OSKAL_LIB_API UException
{
public:
    UException();
    explicit UException(const wchar_t* pszMessage);
    UException(const UException& other);
    virtual ~UException();

    // Never null; "" when there is no message.
    const wchar_t* GetMessageText() const;

    // System message text for an error or result code, without the trailing line break, or
    // "Unknown error." when the system has none. The caller releases *ppszText with LocalFree.
    static void HResultToString(long lCode, wchar_t** ppszText);

protected:
    UString m_message;
};

}}} // namespace Oskal::Lib::Exceptions
