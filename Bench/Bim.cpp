// BIM file throughput: Save and Load of a file whose one firmware container holds 256 MiB of
// region data, plain and Rijndael-encrypted, beside the library's own SHA-1 over the same number
// of bytes in the same run; and the peak memory of loading, measured in a child process.
#include <Oskal/Lib/BIM/UBimFile.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerFirmware.h>
#include <Oskal/Lib/Cryptography/USHA1.h>
#include <Oskal/Lib/Cryptography/USymmetricAlgorithm.h>

#include "BenchReport.h"

#include <psapi.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

using namespace Oskal::Lib;
using namespace Oskal::Lib::BIM;

namespace
{

const unsigned int kImageSize = 256u << 20;
const unsigned int kRegions = 4;
const int kRuns = 3;

unsigned char g_key[32];
unsigned char g_iv[16];

class KeyCallback : public UBimReadFileCallback
{
public:
    int ProcessEncryptionAlgorithm(UBimPayloadContainerEncryption, Cryptography::UEncryptionAlgorithm* pAlgorithm) override
    {
        auto* algorithm = dynamic_cast<Cryptography::USymmetricAlgorithm*>(pAlgorithm);
        algorithm->SetKey(g_key, sizeof(g_key));
        algorithm->SetInitializationVector(g_iv, sizeof(g_iv));
        return 1;
    }
};

double MBps(double seconds)
{
    return kImageSize / 1e6 / seconds;
}

// A file object holding one firmware container with kRegions regions of pseudo-random bytes.
void Build(UBimFile& file, bool encrypted)
{
    UBimPayloadContainerFirmware* firmware = UBimPayloadContainerFirmware::Create();
    if (encrypted)
    {
        firmware->SetEncryptionType(eBimPayloadContainerEncryption_Rijndael);
        auto* algorithm = dynamic_cast<Cryptography::USymmetricAlgorithm*>(firmware->GetEncryptionAlgorithm());
        algorithm->SetKey(g_key, sizeof(g_key));
        algorithm->SetInitializationVector(g_iv, sizeof(g_iv));
    }
    const unsigned int regionSize = kImageSize / kRegions;
    unsigned int seed = 1;
    for (unsigned int r = 0; r < kRegions; ++r)
    {
        const unsigned int address = 0x10000000u * (r + 1);
        firmware->GetMemoryImage().Reserve(address, regionSize);
        unsigned int* words = reinterpret_cast<unsigned int*>(firmware->GetMemoryImage().GetBuffer(address, regionSize));
        for (unsigned int i = 0; i < regionSize / 4; ++i)
            words[i] = seed = seed * 1664525u + 1013904223u;
    }
    file.GetPayload().AddContainer(*firmware);
    firmware->Release();
}

std::wstring TempPath(const wchar_t* pszName)
{
    wchar_t directory[MAX_PATH];
    GetTempPathW(MAX_PATH, directory);
    return std::wstring(directory) + L"oskal-bench-" + std::to_wstring(GetCurrentProcessId()) + L"-" + pszName;
}

// Child mode: load the file once and print the peak working set in MiB (Wine does not count
// large allocations in the page-file figures, so the working set is the measure that sees them).
int MeasurePeak(const wchar_t* pszPath)
{
    {
        UBimFile file;
        KeyCallback callback;
        file.Load(pszPath, callback);
    }
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof(counters);
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    std::printf("%.1f\n", counters.PeakWorkingSetSize / 1048576.0);
    return 0;
}

double ChildPeak(const std::wstring& path)
{
    wchar_t self[MAX_PATH];
    GetModuleFileNameW(nullptr, self, MAX_PATH);
    std::wstring command = L"\"" + std::wstring(self) + L"\" --peak \"" + path + L"\"";
    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    HANDLE readEnd = nullptr, writeEnd = nullptr;
    CreatePipe(&readEnd, &writeEnd, &inherit, 0);
    SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = writeEnd;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, &command[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process))
        return -1;
    CloseHandle(writeEnd);
    std::string output;
    char buffer[256];
    DWORD got = 0;
    while (ReadFile(readEnd, buffer, sizeof(buffer), &got, nullptr) && got != 0)
        output.append(buffer, got);
    WaitForSingleObject(process.hProcess, INFINITE);
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
    CloseHandle(readEnd);
    return output.empty() ? -1 : std::atof(output.c_str());
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc == 3 && std::wcscmp(argv[1], L"--peak") == 0)
        return MeasurePeak(argv[2]);

    for (unsigned int i = 0; i < sizeof(g_key); ++i)
        g_key[i] = static_cast<unsigned char>(i * 7 + 1);
    for (unsigned int i = 0; i < sizeof(g_iv); ++i)
        g_iv[i] = static_cast<unsigned char>(i * 13 + 5);

    // The reference: the library's SHA-1 over the same number of bytes, in memory.
    std::vector<unsigned char> data(kImageSize, 0x5A);
    Cryptography::USHA1* sha1 = Cryptography::USHA1::Create();
    double sha1Seconds = OskalBench::BestOf(kRuns, [&] {
        sha1->HashCore(data.data(), static_cast<long>(data.size()));
        sha1->HashFinal();
    });
    sha1->Release();
    std::vector<unsigned char>().swap(data);

    const std::wstring plainPath = TempPath(L"plain.bim");
    const std::wstring encryptedPath = TempPath(L"encrypted.bim");
    for (int encrypted = 0; encrypted < 2; ++encrypted)
    {
        const std::wstring& path = encrypted ? encryptedPath : plainPath;
        double saveSeconds;
        {
            UBimFile file;
            Build(file, encrypted != 0);
            saveSeconds = OskalBench::BestOf(kRuns, [&] { file.Save(path.c_str()); });
        }
        OskalBench::Report(encrypted ? "bim.save.encrypted" : "bim.save.plain", MBps(saveSeconds), "MB/s", "sha1",
                           MBps(sha1Seconds));
    }
    for (int encrypted = 0; encrypted < 2; ++encrypted)
    {
        const std::wstring& path = encrypted ? encryptedPath : plainPath;
        // Only Load is timed; releasing the loaded image afterwards is not part of it.
        double loadSeconds = 1e30;
        for (int run = 0; run < kRuns; ++run)
        {
            UBimFile file;
            KeyCallback callback;
            const double start = OskalBench::Now();
            file.Load(path.c_str(), callback);
            const double elapsed = OskalBench::Now() - start;
            loadSeconds = elapsed < loadSeconds ? elapsed : loadSeconds;
        }
        OskalBench::Report(encrypted ? "bim.load.encrypted" : "bim.load.plain", MBps(loadSeconds), "MB/s", "sha1",
                           MBps(sha1Seconds));
    }
    // Lower is better for this one figure: the peak must stay below the image size plus 32 MiB.
    double peak = ChildPeak(encryptedPath);
    OskalBench::Report("bim.load.peakmem", peak, "MiB", "image", kImageSize / 1048576.0);

    DeleteFileW(plainPath.c_str());
    DeleteFileW(encryptedPath.c_str());
    return 0;
}
