#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UString.h>

#include <vector>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

// What one writing process told the log sink server: its level names and class names, numbered
// in the order their blocks arrived (which is the order of the writer's ids), and its
// application name.
class OSKAL_LIB_API ULogSinkTranslationMap
{
public:
    // Ids beyond these are refused, so a hostile writer cannot grow the map without bound.
    enum : unsigned long
    {
        MaxLevels = 640,
        MaxClasses = 65536
    };

    ULogSinkTranslationMap();
    ~ULogSinkTranslationMap();
    ULogSinkTranslationMap(const ULogSinkTranslationMap&) = delete;
    ULogSinkTranslationMap& operator=(const ULogSinkTranslationMap&) = delete;

    // 1 when the name took the next id; 0 when the map is full.
    int AddLogLevel(const wchar_t* pszName);
    int AddClassName(const wchar_t* pszName);
    void SetApplicationName(const wchar_t* pszName);

    // The name of that id, or "" for an id never named.
    const wchar_t* GetLogLevelName(unsigned long ulId) const;
    const wchar_t* GetLogClassName(unsigned long ulId) const;
    const wchar_t* GetApplicationName() const;

    unsigned long GetLogLevelCount() const { return static_cast<unsigned long>(m_levels.size()); }
    unsigned long GetClassCount() const { return static_cast<unsigned long>(m_classes.size()); }

private:
    std::vector<UString> m_levels;
    std::vector<UString> m_classes;
    UString m_applicationName;
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
