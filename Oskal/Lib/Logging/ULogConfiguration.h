#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/Logging/ULogLevel.h>
#include <Oskal/Lib/Logging/ULogLevelMask.h>
#include <Oskal/Lib/UString.h>

#include <vector>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

// Which log levels each class writes, read from an XML file: every element is a node of a tree
// whose root is "Default"; element names are dotted paths ("Device.Bus" inside "App" is
// App/Device/Bus), and the attributes "level", "include" and "exclude" set a node's base level
// and the levels added to and removed from what it inherits.
class OSKAL_LIB_API ULogConfiguration
{
public:
    // Deeper paths are refused when loading, so that nothing here recurses without bound.
    enum : unsigned long
    {
        MaxDepth = 1000
    };

    // One node: what it sets, and its children in order of creation.
    struct UInfo
    {
        UString name;
        const ULogLevel* pBaseLevel; // null: inherited
        std::vector<const ULogLevel*> inclusions;
        std::vector<const ULogLevel*> exclusions;
        std::vector<UInfo> children;

        explicit UInfo(const wchar_t* pszName = L"");
    };

    ULogConfiguration();
    ULogConfiguration(const ULogConfiguration& other);
    ULogConfiguration& operator=(const ULogConfiguration& other);
    virtual ~ULogConfiguration();

    // Back to the root "Default" with base level "Note" and nothing else.
    void Reset();
    // Replaces the tree with the file's; any failure is a ULoggingException "Reading the
    // configuration file failed (<reason>)." (the tree may then hold what was read before it).
    void Load(const wchar_t* pszFileName);

    // (levels 0 up to the base level) and the inclusions, less the exclusions, of the nearest
    // node on the class's dotted path.
    ULogLevelMask GetLogLevelMask(const wchar_t* pszName) const;

    // Prints the tree to standard output, as FormatConfigurationTree gives it.
    void PrintConfigurationTree() const;
    UString FormatConfigurationTree() const;

    const UInfo& GetRoot() const { return m_root; }

private:
    UInfo* CreateInfoNode(const std::vector<UString>& path);
    void LoadFile(const wchar_t* pszFileName);

    UInfo m_root;
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
