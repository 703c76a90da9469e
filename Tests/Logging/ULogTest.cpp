#include <Oskal/Lib/Logging/ULog.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using namespace Oskal::Lib::Logging;

namespace
{

struct Line
{
    std::wstring source;
    int severity;
    std::wstring text;
};

class RecordingLogger : public ILogger
{
public:
    void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszText) override
    {
        lines.push_back({pszSource, static_cast<int>(eSeverity), pszText});
        if (onWrite)
            onWrite();
    }
    std::vector<Line> lines;
    std::function<void()> onWrite;
};

// Registers for the scope of a test, so that a failing test leaves no logger behind.
struct Registration
{
    explicit Registration(ILogger* p) : logger(p) { ULog::RegisterLogger(p); }
    ~Registration() { ULog::UnregisterLogger(logger); }
    ILogger* logger;
};

void* Arg(const void* p)
{
    return const_cast<void*>(p);
}

void* Arg(long value)
{
    return reinterpret_cast<void*>(value);
}

TEST(ULog, FormatsWithTheRuntimeRules)
{
    RecordingLogger logger;
    Registration registration(&logger);
    // %s takes a wide string in both kinds of format: the Windows run-time's rule, which C99
    // printf would turn into the first character only.
    ULog::Write(L"Src", eLogSeverity_Information, L"plain");
    ULog::Write(L"Src", eLogSeverity_Warning, L"name %s!", Arg(L"Worker"));
    ULog::Write(L"Src", eLogSeverity_Error, L"%d/%x", Arg(-5L), Arg(0xABCL));
    ULog::Write(L"Src", eLogSeverity_Critical, L"%s %s %d", Arg(L"a"), Arg(L"bc"), Arg(7L));
    ULog::Write(L"Src", static_cast<ULogSeverity>(3), L"%d%d%d%d", Arg(1L), Arg(2L), Arg(3L), Arg(4L));
    ULog::Write(L"Src", eLogSeverity_Information, L"%d %d %d %d %s", Arg(1L), Arg(2L), Arg(3L), Arg(4L), Arg(L"five"));
    ULog::Write(L"Src", eLogSeverity_Information, "narrow");
    ULog::Write(L"Src", eLogSeverity_Information, "narrow %s", Arg(L"wide"));
    ULog::Write(L"Src", eLogSeverity_Information, "%d-%d", Arg(1L), Arg(2L));
    ULog::Write(L"Src", eLogSeverity_Information, "%d%d%d", Arg(1L), Arg(2L), Arg(3L));
    ULog::Write(L"Src", eLogSeverity_Information, "%d%d%d%d", Arg(1L), Arg(2L), Arg(3L), Arg(4L));
    ULog::Write(L"Src", eLogSeverity_Information, "%d%d%d%d%d", Arg(1L), Arg(2L), Arg(3L), Arg(4L), Arg(5L));
    ULog::Write(L"Src", eLogSeverity_Information, static_cast<const char*>(nullptr));

    const Line expected[] = {
        {L"Src", 0, L"plain"}, {L"Src", 1, L"name Worker!"}, {L"Src", 4, L"-5/abc"}, {L"Src", 5, L"a bc 7"},
        {L"Src", 3, L"1234"},  {L"Src", 0, L"1 2 3 4 five"}, {L"Src", 0, L"narrow"}, {L"Src", 0, L"narrow wide"},
        {L"Src", 0, L"1-2"},   {L"Src", 0, L"123"},          {L"Src", 0, L"1234"},   {L"Src", 0, L"12345"},
        {L"Src", 0, L""},
    };
    ASSERT_EQ(sizeof(expected) / sizeof(expected[0]), logger.lines.size());
    for (size_t i = 0; i < logger.lines.size(); ++i)
    {
        EXPECT_EQ(expected[i].source, logger.lines[i].source) << i;
        EXPECT_EQ(expected[i].severity, logger.lines[i].severity) << i;
        EXPECT_EQ(expected[i].text, logger.lines[i].text) << i;
    }
}

TEST(ULog, CutsLongTextsAt2047Characters)
{
    RecordingLogger logger;
    Registration registration(&logger);
    const struct
    {
        size_t length;
        size_t delivered;
    } cases[] = {{2046, 2046}, {2047, 2047}, {2048, 2047}, {5000, 2047}};
    for (const auto& c : cases)
    {
        std::wstring text(c.length, L'x');
        text[0] = L'<';
        logger.lines.clear();
        ULog::Write(L"S", eLogSeverity_Information, L"%s", Arg(text.c_str()));
        std::string narrow(c.length, 'y');
        ULog::Write(L"S", eLogSeverity_Information, narrow.c_str());
        ASSERT_EQ(2u, logger.lines.size());
        EXPECT_EQ(text.substr(0, c.delivered), logger.lines[0].text) << c.length;
        EXPECT_EQ(std::wstring(c.delivered, L'y'), logger.lines[1].text) << c.length;
    }
}

TEST(ULog, CallsEachRegistrationInOrder)
{
    RecordingLogger first, second;
    std::vector<int> order;
    first.onWrite = [&] { order.push_back(1); };
    second.onWrite = [&] { order.push_back(2); };

    ULog::Write(L"S", eLogSeverity_Information, L"dropped: nobody listens");
    ULog::RegisterLogger(nullptr);
    ULog::RegisterLogger(&first);
    ULog::RegisterLogger(&second);
    ULog::RegisterLogger(&first);
    ULog::Write(L"S", eLogSeverity_Information, L"one");
    EXPECT_EQ((std::vector<int>{1, 2, 1}), order);

    // Unregistering removes one registration; an unknown logger is ignored.
    ULog::UnregisterLogger(&first);
    ULog::UnregisterLogger(nullptr);
    order.clear();
    ULog::Write(L"S", eLogSeverity_Information, L"two");
    EXPECT_EQ((std::vector<int>{1, 2}), order);
    ULog::UnregisterLogger(&first);
    ULog::UnregisterLogger(&second);
    order.clear();
    ULog::Write(L"S", eLogSeverity_Information, L"three");
    EXPECT_TRUE(order.empty());
}

TEST(ULog, LoggersMayUnregisterAndLogWhileCalled)
{
    RecordingLogger leaving, staying;
    leaving.onWrite = [&] {
        ULog::UnregisterLogger(&leaving);
        if (leaving.lines.size() == 1)
            ULog::Write(L"Inner", eLogSeverity_Warning, L"from inside");
    };
    ULog::RegisterLogger(&leaving);
    Registration registration(&staying);

    ULog::Write(L"Outer", eLogSeverity_Information, L"first");
    ULog::Write(L"Outer", eLogSeverity_Information, L"second");

    // The inner line reached the staying logger before the outer one did; the leaving logger
    // saw only the first line, and nobody was skipped.
    ASSERT_EQ(1u, leaving.lines.size());
    EXPECT_EQ(L"first", leaving.lines[0].text);
    ASSERT_EQ(3u, staying.lines.size());
    EXPECT_EQ(L"from inside", staying.lines[0].text);
    EXPECT_EQ(L"first", staying.lines[1].text);
    EXPECT_EQ(L"second", staying.lines[2].text);
}

} // namespace
