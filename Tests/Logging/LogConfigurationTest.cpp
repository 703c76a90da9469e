// The per-class log configuration: masks from a tree of dotted class paths with inherited base
// levels, inclusions and exclusions; the printed tree; and files that cannot be read.
#include "Support/TestFiles.h"
#include "Support/Thrown.h"

#include <Oskal/Lib/Logging/ULogConfiguration.h>
#include <Oskal/Lib/Logging/ULoggingException.h>

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace
{

using namespace Oskal::Lib::Logging;

void WriteFile(const wchar_t* pszPath, const std::string& text)
{
    ASSERT_TRUE(OskalTests::WriteFileText(pszPath, text));
}

std::set<unsigned long> Bits(const ULogLevelMask& mask)
{
    std::set<unsigned long> bits;
    for (unsigned long i = 0; i < ULogLevelMask::BitCount; ++i)
        if (mask.IsBitSet(i))
            bits.insert(i);
    return bits;
}

std::wstring LoadFailure(const wchar_t* pszPath)
{
    return OskalTests::Thrown<ULoggingException>([&] { ULogConfiguration().Load(pszPath); });
}

TEST(LogConfiguration, MasksFollowTheTreeWithInheritance)
{
    OskalTests::TempFile file(L"logconfig");
    WriteFile(file.Path(), "<?xml version=\"1.0\"?>\n"
                           "<App level=\" Warning \" include=\"Trace3, ,Trace4,\" exclude=\"Error\">\n"
                           "  <Device.Bus level=\"Trace0\" exclude=\"Trace3\"/>\n"
                           "  <Device include=\"Developer\"><!-- comment --></Device>\n"
                           "  <Other exclude=\"\">text</Other>\n"
                           "</App>\n");
    ULogConfiguration configuration;
    configuration.Load(file.Path());
    const struct
    {
        const wchar_t* name;
        std::set<unsigned long> bits;
    } cases[] = {
        {L"App", {0, 2, 8, 9}},
        {L"App.Device", {0, 2, 4, 8, 9}},
        {L"App.Device.Bus", {0, 2, 3, 4, 5, 9}},
        // A path the file does not name takes its nearest ancestor.
        {L"App.Device.Bus.Deeper.Still", {0, 2, 3, 4, 5, 9}},
        {L"App.Other", {0, 2, 8, 9}},
        {L"Unknown", {0, 1, 2, 3}},
        {L"", {0, 1, 2, 3}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.bits, Bits(configuration.GetLogLevelMask(c.name))) << std::wstring(c.name).size();

    // Copies are whole trees; Reset goes back to Default with Note.
    ULogConfiguration copy(configuration);
    configuration.Reset();
    EXPECT_EQ((std::set<unsigned long>{0, 1, 2, 3}), Bits(configuration.GetLogLevelMask(L"App")));
    EXPECT_EQ((std::set<unsigned long>{0, 2, 8, 9}), Bits(copy.GetLogLevelMask(L"App")));
    configuration = copy;
    EXPECT_EQ((std::set<unsigned long>{0, 2, 4, 8, 9}), Bits(configuration.GetLogLevelMask(L"App.Device")));
}

TEST(LogConfiguration, PrintsTheTreeDepthFirst)
{
    EXPECT_STREQ(L"- Default\n"
                 L"  Base Level: Note\n"
                 L"  Inclusions: <inherited>\n"
                 L"  Exclusions: <inherited>\n",
                 ULogConfiguration().FormatConfigurationTree().GetBuffer());

    OskalTests::TempFile file(L"logconfig");
    WriteFile(file.Path(), "<A.B include=\"Trace1,Trace2\"><C level=\"Error\" exclude=\"Note\"/></A.B>");
    ULogConfiguration configuration;
    configuration.Load(file.Path());
    EXPECT_STREQ(L"- Default\n"
                 L"  Base Level: Note\n"
                 L"  Inclusions: <inherited>\n"
                 L"  Exclusions: <inherited>\n"
                 L"  - A\n"
                 L"    Base Level: <inherited>\n"
                 L"    Inclusions: <inherited>\n"
                 L"    Exclusions: <inherited>\n"
                 L"    - B\n"
                 L"      Base Level: <inherited>\n"
                 L"      Inclusions: Trace1 Trace2 + inherited inclusions\n"
                 L"      Exclusions: <inherited>\n"
                 L"      - C\n"
                 L"        Base Level: Error\n"
                 L"        Inclusions: <inherited>\n"
                 L"        Exclusions: Note + inherited exclusions\n",
                 configuration.FormatConfigurationTree().GetBuffer());
}

TEST(LogConfiguration, FailuresBecomeOneLoggingException)
{
    OskalTests::TempFile missing(L"logconfig");
    // The file stream's exception carries no message of its own.
    EXPECT_EQ(L"Reading the configuration file failed ().", LoadFailure(missing.Path()));

    OskalTests::TempFile broken(L"logconfig");
    WriteFile(broken.Path(), "<App level=\"Error\"><Unclosed></App>");
    const std::wstring failure = LoadFailure(broken.Path());
    EXPECT_EQ(0u, failure.find(L"Reading the configuration file failed (")) << failure;
    EXPECT_GT(failure.size(), std::wstring(L"Reading the configuration file failed ().").size()) << failure;
    EXPECT_LE(failure.size(), 500u);

    // A very deep dotted name is refused instead of recursing.
    OskalTests::TempFile deep(L"logconfig");
    std::string name = "a";
    for (int i = 0; i < 5000; ++i)
        name += ".a";
    WriteFile(deep.Path(), "<" + name + " level=\"Error\"/>");
    EXPECT_EQ(0u, LoadFailure(deep.Path()).find(L"Reading the configuration file failed ("));

    // And a deep class name walks only as far as the tree goes.
    std::wstring className(name.begin(), name.end());
    for (int i = 0; i < 20; ++i)
        className += className.substr(0, 1000);
    EXPECT_EQ((std::set<unsigned long>{0, 1, 2, 3}), Bits(ULogConfiguration().GetLogLevelMask(className.c_str())));
}

} // namespace
