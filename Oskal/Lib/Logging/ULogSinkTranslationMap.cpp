#include <Oskal/Lib/Logging/ULogSinkTranslationMap.h>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

ULogSinkTranslationMap::ULogSinkTranslationMap() {}

ULogSinkTranslationMap::~ULogSinkTranslationMap() {}

int ULogSinkTranslationMap::AddLogLevel(const wchar_t* pszName)
{
    if (m_levels.size() >= MaxLevels)
        return 0;
    m_levels.emplace_back(pszName != nullptr ? pszName : L"");
    return 1;
}

int ULogSinkTranslationMap::AddClassName(const wchar_t* pszName)
{
    if (m_classes.size() >= MaxClasses)
        return 0;
    m_classes.emplace_back(pszName != nullptr ? pszName : L"");
    return 1;
}

void ULogSinkTranslationMap::SetApplicationName(const wchar_t* pszName)
{
    m_applicationName = pszName != nullptr ? pszName : L"";
}

const wchar_t* ULogSinkTranslationMap::GetLogLevelName(unsigned long ulId) const
{
    return ulId < m_levels.size() ? m_levels[ulId].GetBuffer() : L"";
}

const wchar_t* ULogSinkTranslationMap::GetLogClassName(unsigned long ulId) const
{
    return ulId < m_classes.size() ? m_classes[ulId].GetBuffer() : L"";
}

const wchar_t* ULogSinkTranslationMap::GetApplicationName() const
{
    return m_applicationName.GetBuffer();
}

} // namespace Logging
} // namespace Lib
} // namespace Oskal
