#include <Oskal/Lib/Internal/ArgumentChecks.h>

#include <Oskal/Lib/UString.h>

namespace Oskal { namespace Lib { namespace Internal {

namespace
{

[[noreturn]] void ThrowWith(const wchar_t* pszName, const wchar_t* pszRule)
{
    UString message(L"Argument '");
    message.Append(pszName);
    message.Append(L"' ");
    message.Append(pszRule);
    throw Exceptions::UArgumentException(pszName, message.GetBuffer());
}

} // namespace

void ThrowNull(const wchar_t* pszName)
{
    ThrowWith(pszName, L"must not be NULL.");
}

void ThrowNegative(const wchar_t* pszName)
{
    ThrowWith(pszName, L"must be >= 0.");
}

}}} // namespace Oskal::Lib::Internal
