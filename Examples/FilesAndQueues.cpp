// Writes a small file, reads it back through a view, splits its text into tokens, passes the
// tokens through a chunk queue and shows how library failures arrive as exceptions.
#include <Oskal/Lib.h>

#include <windows.h>

#include <cstdio>

using namespace Oskal::Lib;
using namespace Oskal::Lib::IO;

int main()
{
    wchar_t directory[MAX_PATH];
    GetTempPathW(MAX_PATH, directory);
    UString path = UString(directory) + L"oskal-example.txt";

    const char text[] = "alpha;beta;gamma";
    UFileStream file;
    file.Open(path, eFileOpenMode_CreateAlways, eFileAccessMode_ReadWrite, eFileShareMode_None);
    file.Write(text, sizeof(text) - 1);

    // Read back only the middle token through a view.
    char middle[16] = {};
    file.SetView(6, 4);
    long read = file.Read(middle, sizeof(middle));
    std::printf("file of %lld bytes, view (6, 4) reads %ld bytes: %s\n", file.GetLength(), read, middle);
    file.Close();

    wchar_t wide[sizeof(text)];
    for (unsigned i = 0; i < sizeof(text); ++i)
        wide[i] = static_cast<wchar_t>(text[i]);
    Collections::UVector<UString> tokens = UString(wide).Tokenize(L";");

    HANDLE shutdown = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    Collections::UChunkQueue queue(64, shutdown);
    for (unsigned long i = 0; i < tokens.GetLength(); ++i)
        queue.Enqueue(const_cast<wchar_t*>(tokens[i].GetBuffer()), tokens[i].GetLength() * sizeof(wchar_t), 1000, 0);
    std::printf("queue filling level after %lu tokens: %lu per mille\n", tokens.GetLength(), queue.GetFillingLevel());

    wchar_t chunk[32];
    unsigned long bytes;
    while (WaitForSingleObject(queue.GetDataAvailableEvent(), 0) == WAIT_OBJECT_0 &&
           (bytes = queue.Dequeue(reinterpret_cast<unsigned char*>(chunk), sizeof(chunk) - sizeof(wchar_t), 0, 0)) != 0)
    {
        chunk[bytes / sizeof(wchar_t)] = 0;
        std::printf("token: %ls\n", chunk);
    }

    try
    {
        UFileStream missing;
        missing.Open(UString(directory) + L"oskal-example-missing.bin", eFileOpenMode_OpenExisting,
                     eFileAccessMode_Read, eFileShareMode_Read);
    }
    catch (const UFileIoException& e)
    {
        wchar_t* message = nullptr;
        Exceptions::UException::HResultToString(e.GetErrorCode(), &message);
        std::printf("opening a missing file failed with code %ld: %ls\n", e.GetErrorCode(), message);
        LocalFree(message);
    }

    CloseHandle(shutdown);
    DeleteFileW(path);
    return 0;
}
