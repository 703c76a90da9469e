#include <Oskal/Lib/BIM/UBimFile.h>

#include <Oskal/Lib/BIM/UBimException.h>
#include <Oskal/Lib/Cryptography/UCryptoStream.h>
#include <Oskal/Lib/Cryptography/USHA1.h>
#include <Oskal/Lib/IO/UFileStream.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>
#include <Oskal/Lib/UNotSupportedException.h>

#include <cstring>
#include <memory>

namespace Oskal { namespace Lib { namespace BIM {

namespace {

// Gathers the many small writes of a save (records, container headers, padding bytes) into large
// ones. Flush only hands the gathered bytes on: the crypto streams flush at every final block,
// and that must not force the file to disk each time.
class WriteBuffer : public IO::UStream
{
public:
    explicit WriteBuffer(IO::UStream& target) : m_target(target), m_buffer(new unsigned char[kSize]), m_used(0) {}
    ~WriteBuffer() override {}

    int CanRead() const override { return 0; }
    int CanWrite() const override { return 1; }
    int CanSeek() const override { return 0; }
    void Close() override { Flush(); }
    void Flush() override
    {
        if (m_used != 0)
            m_target.Write(m_buffer.get(), static_cast<long>(m_used));
        m_used = 0;
    }
    long long GetLength() const override { throw Exceptions::UNotSupportedException(); }
    long long GetPosition() const override { throw Exceptions::UNotSupportedException(); }
    int IsDataAvailable() const override { return 0; }
    long Read(void*, long) override { throw Exceptions::UNotSupportedException(); }
    long long Seek(long long, IO::USeekOrigin) override { throw Exceptions::UNotSupportedException(); }
    void SetLength(long long) override { throw Exceptions::UNotSupportedException(); }
    void SetPosition(long long) override { throw Exceptions::UNotSupportedException(); }
    void Write(const void* pvBuffer, long lCount) override
    {
        const unsigned char* data = static_cast<const unsigned char*>(pvBuffer);
        unsigned long count = lCount > 0 ? static_cast<unsigned long>(lCount) : 0;
        // Large pieces go straight through once the gathered bytes are out.
        if (count >= kSize)
        {
            Flush();
            m_target.Write(data, static_cast<long>(count));
            return;
        }
        if (m_used + count > kSize)
            Flush();
        std::memcpy(m_buffer.get() + m_used, data, count);
        m_used += count;
    }

private:
    static const unsigned long kSize = 0x40000;

    IO::UStream& m_target;
    std::unique_ptr<unsigned char[]> m_buffer;
    unsigned long m_used;
};

const unsigned long kIntegrityPiece = 1048576;

} // namespace

UBimFile::UBimFile() : m_pHeader(new UBimHeader()), m_pPayload(nullptr)
{
    try
    {
        m_pPayload = new UBimPayload();
    }
    catch (...)
    {
        delete m_pHeader;
        throw;
    }
}

UBimFile::~UBimFile()
{
    m_pPayload->Clear();
    m_pHeader->Clear();
    delete m_pPayload;
    delete m_pHeader;
}

UBimHeader& UBimFile::GetHeader()
{
    return *m_pHeader;
}

const UBimHeader& UBimFile::GetHeader() const
{
    return *m_pHeader;
}

UBimPayload& UBimFile::GetPayload()
{
    return *m_pPayload;
}

const UBimPayload& UBimFile::GetPayload() const
{
    return *m_pPayload;
}

void UBimFile::Load(const wchar_t* pszFileName, UBimReadFileCallback& callback)
{
    IO::UFileStream file;
    file.Open(pszFileName, IO::eFileOpenMode_OpenExisting, IO::eFileAccessMode_Read, IO::eFileShareMode_Read);
    CheckIntegrity(file);
    m_pHeader->Read(file);
    if (callback.ProcessBimHeader(m_pHeader))
        m_pPayload->Read(file, m_pHeader->GetPayloadLength(), callback);
    else
        m_pPayload->Clear();
}

void UBimFile::Save(const wchar_t* pszFileName)
{
    Internal::ReleasePtr<Cryptography::USHA1> hash(Cryptography::USHA1::Create());
    // Asked before the file is opened: a container that cannot tell its size (an unknown
    // encryption without raw bytes) then leaves an existing file alone.
    const unsigned int payloadLength = m_pPayload->GetLength();
    IO::UFileStream file;
    file.Open(pszFileName, IO::eFileOpenMode_CreateAlways, IO::eFileAccessMode_Write, IO::eFileShareMode_Read);
    WriteBuffer buffered(file);
    {
        // Every byte reaches the file unchanged and is hashed on the way.
        Cryptography::UCryptoStream hashing(&buffered, hash.Get(), Cryptography::eCryptoStreamMode_Write);
        m_pHeader->SetPayloadLength(payloadLength);
        m_pHeader->Write(hashing);
        m_pPayload->Write(hashing);
        hashing.FlushFinalBlock();
    }
    // The checksum itself goes around the hashing stream.
    buffered.Write(hash->GetHash(), static_cast<long>(hash->GetHashSize()));
    buffered.Flush();
}

void UBimFile::CheckIntegrity(IO::UStream& stream)
{
    Internal::ReleasePtr<Cryptography::USHA1> hash(Cryptography::USHA1::Create());
    std::unique_ptr<unsigned char[]> buffer(new unsigned char[kIntegrityPiece]);
    const long long length = stream.GetLength();
    const long long position = stream.GetPosition();
    if (length < 20)
        throw UBimException(L"Image file is too small to contain a checksum.");

    stream.SetView(0, length - 20);
    // The view is hashed straight from the reads: the same digest a hashing crypto stream gives,
    // without copying every byte through its buffers.
    hash->Reset();
    for (;;)
    {
        const long n = stream.Read(buffer.get(), static_cast<long>(kIntegrityPiece));
        if (n <= 0)
            break;
        hash->HashCore(buffer.get(), n);
    }
    hash->HashFinal();
    stream.ResetView();
    stream.SetPosition(length - 20);
    unsigned char stored[20] = {};
    long got = 0;
    while (got < 20)
    {
        const long n = stream.Read(stored + got, 20 - got);
        if (n <= 0)
            break;
        got += n;
    }
    const unsigned long size = hash->GetHashSize();
    const unsigned char* computed = hash->GetHash();
    for (unsigned long i = 0; i < size && i < sizeof(stored); ++i)
    {
        if (computed[i] != stored[i])
            throw UBimException(L"Checksum error.");
    }
    stream.SetPosition(position);
}

}}} // namespace Oskal::Lib::BIM
