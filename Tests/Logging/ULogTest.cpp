#include <Oskal/Lib/Logging/ULog.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using namespace Oskal::Lib::Logging;

namespace
{

// Records each line as "source|severity|text".
struct RecordingLogger : ILogger
{
    void Write(const wchar_t* pszSource, ULogSeverity eSeverity, const wchar_t* pszText) override
    {
        lines.push_back(std::wstring(pszSource) + L"|" + std::to_wstring(eSeverity) + L"|" + pszText);
        if (onWrite)
            onWrite();
    }
    std::vector<std::wstring> lines;
    std::function<void()> onWrite;
};

void* S(const wchar_t* psz)
{
    return const_cast<wchar_t*>(psz);
}
void* N(long lValue)
{
    return reinterpret_cast<void*>(lValue);
}

TEST(ULog, FormatsWithTheRuntimeRules)
{
    RecordingLogger log;
    ULog::RegisterLogger(&log);
    // %s takes a wide string in both kinds of format (C99 printf would print its first character).
    ULog::Write(L"S", eLogSeverity_Information, L"plain");
    ULog::Write(L"S", eLogSeverity_Warning, L"name %s!", S(L"Worker"));
    ULog::Write(L"S", eLogSeverity_Error, L"%d/%x", N(-5), N(0xABC));
    ULog::Write(L"S", eLogSeverity_Critical, L"%s %s %d", S(L"a"), S(L"bc"), N(7));
    ULog::Write(L"S", static_cast<ULogSeverity>(3), L"%d%d%d%d", N(1), N(2), N(3), N(4));
    ULog::Write(L"S", eLogSeverity_Information, L"%d%d%d%d %s", N(1), N(2), N(3), N(4), S(L"five"));
    ULog::Write(L"S", eLogSeverity_Information, "narrow");
    ULog::Write(L"S", eLogSeverity_Information, "narrow %s", S(L"wide"));
    ULog::Write(L"S", eLogSeverity_Information, "%d-%d", N(1), N(2));
    ULog::Write(L"S", eLogSeverity_Information, "%d%d%d", N(1), N(2), N(3));
    ULog::Write(L"S", eLogSeverity_Information, "%d%d%d%d", N(1), N(2), N(3), N(4));
    ULog::Write(L"S", eLogSeverity_Information, "%d%d%d%d%s", N(1), N(2), N(3), N(4), S(L"5"));
    ULog::Write(nullptr, eLogSeverity_Information, static_cast<const char*>(nullptr));
    ULog::UnregisterLogger(&log);
    const std::vector<std::wstring> expected = {L"S|0|plain", L"S|1|name Worker!", L"S|4|-5/abc", L"S|5|a bc 7",
                                                L"S|3|1234",  L"S|0|1234 five",    L"S|0|narrow", L"S|0|narrow wide",
                                                L"S|0|1-2",   L"S|0|123",          L"S|0|1234",   L"S|0|12345",
                                                L"|0|"};
    EXPECT_EQ(expected, log.lines);
}

TEST(ULog, CutsLongTextsAt2047Characters)
{
    RecordingLogger log;
    ULog::RegisterLogger(&log);
    const size_t cases[][2] = {{2046, 2046}, {2047, 2047}, {2048, 2047}, {5000, 2047}};
    for (const auto& c : cases)
    {
        log.lines.clear();
        ULog::Write(L"S", eLogSeverity_Information, L"%s", S(std::wstring(c[0], L'x').c_str()));
        ULog::Write(L"S", eLogSeverity_Information, std::string(c[0], 'y').c_str());
        EXPECT_EQ((std::vector<std::wstring>{L"S|0|" + std::wstring(c[1], L'x'), L"S|0|" + std::wstring(c[1], L'y')}),
                  log.lines);
    }
    ULog::UnregisterLogger(&log);
}

TEST(ULog, CallsEachRegistrationInOrderOverASnapshot)
{
    RecordingLogger first, second;
    std::vector<int> order;
    // The first logger logs once from inside and then unregisters itself, in the middle of the loop.
    first.onWrite = [&] {
        order.push_back(1);
        if (first.lines.size() == 1)
            ULog::Write(L"Inner", eLogSeverity_Warning, L"inside");
        ULog::UnregisterLogger(&first);
    };
    second.onWrite = [&] { order.push_back(2); };
    ULog::Write(L"S", eLogSeverity_Information, L"dropped: nobody listens");
    ULog::RegisterLogger(nullptr);
    ULog::RegisterLogger(&first);
    ULog::RegisterLogger(&second);
    ULog::RegisterLogger(&first);
    ULog::Write(L"Outer", eLogSeverity_Information, L"one");
    // first; the inner line (first, second, first); then the rest of the outer snapshot.
    EXPECT_EQ((std::vector<int>{1, 1, 2, 1, 2, 1}), order);
    ULog::UnregisterLogger(nullptr);
    ULog::Write(L"Outer", eLogSeverity_Information, L"two");
    ULog::UnregisterLogger(&second);
    ULog::Write(L"Outer", eLogSeverity_Information, L"three");
    EXPECT_EQ((std::vector<int>{1, 1, 2, 1, 2, 1, 2}), order); // both of first's registrations are gone
    EXPECT_EQ((std::vector<std::wstring>{L"Inner|1|inside", L"Outer|0|one", L"Outer|0|two"}), second.lines);
}

} // namespace
