#pragma once

#include <Oskal/Lib/ExceptionMacros.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

// A bad argument: carries the parameter's name and a whole-sentence message.
class OSKAL_LIB_API UArgumentException : public UException
{
public:
    // Kept: stores the text as the argument name; the message stays empty (pinned by
    // Exceptions.ArgumentNameAndMessageForms)
    explicit UArgumentException(const wchar_t* pszName);
    UArgumentException(const wchar_t* pszName, const wchar_t* pszMessage);
    OSKAL_DECLARE_EXCEPTION_COPY(UArgumentException)

    const wchar_t* GetName() const;

private:
    UString m_name;
};

}}} // namespace Oskal::Lib::Exceptions
