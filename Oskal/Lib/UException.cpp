#include <Oskal/Lib/UException.h>

#include <windows.h>

#include <cwchar>

namespace Oskal { namespace Lib { namespace Exceptions {

UException::UException() {}

UException::UException(const wchar_t* pszMessage) : m_message(pszMessage) {}

UException::UException(const UException& other) : m_message(other.m_message) {}

UException::~UException() {}

const wchar_t* UException::GetMessageText() const
{
    return m_message.GetBuffer();
}

void UException::HResultToString(long lCode, wchar_t** ppszText)
{
    const DWORD flags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM;
    DWORD length = FormatMessageW(flags, nullptr, static_cast<DWORD>(lCode), 0x0C00,
                                  reinterpret_cast<LPWSTR>(ppszText), 0, nullptr);
    if (length == 0)
    {
        static const wchar_t unknown[] = L"Unknown error.";
        *ppszText = static_cast<wchar_t*>(LocalAlloc(LMEM_FIXED, 30));
        if (*ppszText != nullptr)
            wcsncpy(*ppszText, unknown, 15);
        return;
    }
    // System texts end with a line break; the first code unit is never examined.
    wchar_t* text = *ppszText;
    for (DWORD i = length - 1; i > 0 && (text[i] == L'\r' || text[i] == L'\n'); --i)
        text[i] = 0;
}

}}} // namespace Oskal::Lib::Exceptions
