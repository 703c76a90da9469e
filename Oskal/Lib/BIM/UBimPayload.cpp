#include <Oskal/Lib/BIM/UBimPayload.h>

#include <Oskal/Lib/BIM/UBimException.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerFirmware.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerUnknown.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerWindows.h>
#include <Oskal/Lib/Cryptography/UCryptoStream.h>
#include <Oskal/Lib/Cryptography/USHA1.h>
#include <Oskal/Lib/Internal/ByteOrder.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>
#include <Oskal/Lib/Internal/StreamRead.h>
#include <Oskal/Lib/UNotSupportedException.h>

#include <cstring>
#include <exception>
#include <memory>

namespace Oskal { namespace Lib { namespace BIM {

using Cryptography::ICryptoTransform;
using Cryptography::UCryptoStream;

namespace {

const wchar_t g_szEndOfStream[] = L"Unexpected end of stream.";
// Pieces in which the stored bytes the parser left are read and hashed.
const unsigned long kCheckPiece = 16384;

unsigned int PaddingOf(unsigned int uiSize)
{
    return (4 - uiSize % 4) % 4;
}

UBimPayloadContainerBase* MakeContainer(unsigned char byType)
{
    switch (byType)
    {
    case eBimPayloadContainerType_Firmware:
        return UBimPayloadContainerFirmware::Create();
    case eBimPayloadContainerType_Windows:
        return UBimPayloadContainerWindows::Create();
    default:
        return UBimPayloadContainerUnknown::Create(static_cast<UBimPayloadContainerType>(byType));
    }
}

// Hands the stored bytes of one container (deciphered, if the source deciphers) to the
// container's parser and hashes the first plain-size bytes among them on the way, so that one read
// of the file both checks and parses the container. Never hands out more than the stored bytes.
class HashingReader : public IO::UStream
{
public:
    HashingReader(IO::UStream& source, Cryptography::USHA1& hash, unsigned int uiStoredSize, unsigned int uiPlainSize)
        : m_source(source), m_hash(hash), m_stored(uiStoredSize), m_plain(uiPlainSize), m_done(0),
          m_sourceFailed(false)
    {
    }

    int CanRead() const override { return 1; }
    int CanWrite() const override { return 0; }
    int CanSeek() const override { return 0; }
    void Close() override {}
    void Flush() override {}
    long long GetLength() const override { throw Exceptions::UNotSupportedException(); }
    long long GetPosition() const override { throw Exceptions::UNotSupportedException(); }
    int IsDataAvailable() const override { return m_done < m_stored ? 1 : 0; }
    long long Seek(long long, IO::USeekOrigin) override { throw Exceptions::UNotSupportedException(); }
    void SetLength(long long) override { throw Exceptions::UNotSupportedException(); }
    void SetPosition(long long) override { throw Exceptions::UNotSupportedException(); }
    void Write(const void*, long) override { throw Exceptions::UNotSupportedException(); }

    long Read(void* pvBuffer, long lCount) override
    {
        unsigned long count = lCount > 0 ? static_cast<unsigned long>(lCount) : 0;
        if (count > m_stored - m_done)
            count = m_stored - m_done;
        if (count == 0)
            return 0;
        long n = 0;
        try
        {
            n = m_source.Read(pvBuffer, static_cast<long>(count));
        }
        catch (...)
        {
            m_sourceFailed = true;
            throw;
        }
        if (n > 0)
            Hash(static_cast<const unsigned char*>(pvBuffer), static_cast<unsigned int>(n));
        return n;
    }

    // Reads and hashes what the parser left of the stored bytes; false when they run short.
    bool ReadRest(unsigned char* pbyBuffer, unsigned long ulSize)
    {
        while (m_done < m_stored)
        {
            const long piece = static_cast<long>(m_stored - m_done < ulSize ? m_stored - m_done : ulSize);
            if (Internal::ReadFully(*this, pbyBuffer, piece) < static_cast<unsigned long>(piece))
                return false;
        }
        return true;
    }

    // True once reading the file or deciphering failed, as opposed to the parser itself.
    bool SourceFailed() const { return m_sourceFailed; }

private:
    void Hash(const unsigned char* pbyData, unsigned int uiCount)
    {
        if (m_done < m_plain)
            m_hash.HashCore(pbyData, static_cast<long>(m_plain - m_done < uiCount ? m_plain - m_done : uiCount));
        m_done += uiCount;
    }

    IO::UStream& m_source;
    Cryptography::USHA1& m_hash;
    const unsigned int m_stored;
    const unsigned int m_plain;
    unsigned int m_done;
    bool m_sourceFailed;
};

// Stored bytes that are no whole number of cipher blocks cannot be deciphered, and a plain size
// beyond the stored bytes cannot be right: such a container stays raw.
bool IsCheckable(const ICryptoTransform* pDecryptor, unsigned int uiStoredSize, unsigned int uiPlainSize)
{
    unsigned long block = pDecryptor != nullptr ? pDecryptor->GetInputBlockSize() : 1;
    if (block == 0)
        block = 1;
    return uiStoredSize % block == 0 && uiPlainSize <= uiStoredSize;
}

// The digest follows the padding after the stored bytes. Leaves the view lifted.
void ReadDigest(IO::UStream& stream, long long llStart, unsigned int uiStoredSize, unsigned char* pbyDigest)
{
    stream.ResetView();
    stream.SetPosition(llStart + uiStoredSize + PaddingOf(uiStoredSize));
    if (Internal::ReadFully(stream, pbyDigest, 20) < 20)
        throw UBimException(g_szEndOfStream);
}

// Parses the container from its stored bytes (through the decryptor, if any) while hashing them,
// then reads the digest from the file; true when the two agree. A parse that fails is held back
// until the digest is known: for a container whose digest does not match it is no error, as the
// bytes are then kept raw. Failures of the file or the cipher are thrown at once, as they would
// be by any other read of the bytes.
bool ParseChecked(IO::UStream& stream, UBimPayloadContainerBase& container, ICryptoTransform* pDecryptor,
                  long long llStart, unsigned int uiStoredSize, unsigned int uiPlainSize, unsigned char* pbyDigest)
{
    Internal::ReleasePtr<Cryptography::USHA1> hash(Cryptography::USHA1::Create());
    hash->Reset();
    std::exception_ptr parseFailure;
    {
        std::unique_ptr<UCryptoStream> deciphering;
        if (pDecryptor != nullptr)
            deciphering.reset(new UCryptoStream(&stream, pDecryptor, Cryptography::eCryptoStreamMode_Read));
        HashingReader reader(deciphering ? *deciphering : stream, *hash, uiStoredSize, uiPlainSize);
        try
        {
            container.ReadInnerContainer(reader, uiPlainSize);
        }
        catch (...)
        {
            if (reader.SourceFailed())
                throw;
            parseFailure = std::current_exception();
        }
        std::unique_ptr<unsigned char[]> buffer(new unsigned char[kCheckPiece]);
        if (!reader.ReadRest(buffer.get(), kCheckPiece))
            throw UBimException(g_szEndOfStream);
    }
    hash->HashFinal();
    ReadDigest(stream, llStart, uiStoredSize, pbyDigest);
    const bool matched = std::memcmp(hash->GetHash(), pbyDigest, 20) == 0;
    if (matched && parseFailure)
        std::rethrow_exception(parseFailure);
    return matched;
}
} // namespace

UBimPayload::UBimPayload()
{
    m_containers.SetGrowCount(16);
}

UBimPayload::~UBimPayload()
{
    Clear();
}

unsigned int UBimPayload::GetLength() const
{
    unsigned int length = 0;
    for (unsigned long i = 0; i < m_containers.GetLength(); ++i)
        length += m_containers[i]->GetTotalContainerSize();
    return length;
}

UBimPayloadContainerBase* UBimPayload::GetContainer(unsigned long ulIndex)
{
    return ulIndex < m_containers.GetLength() ? m_containers[ulIndex] : nullptr;
}

const UBimPayloadContainerBase* UBimPayload::GetContainer(unsigned long ulIndex) const
{
    return ulIndex < m_containers.GetLength() ? m_containers[ulIndex] : nullptr;
}

unsigned long UBimPayload::GetContainerCount() const
{
    return m_containers.GetLength();
}

void UBimPayload::Append(UBimPayloadContainerBase* pContainer)
{
    m_containers.SetGrowCount(m_containers.GetLength() > 16 ? m_containers.GetLength() : 16);
    m_containers.Add(pContainer);
}

void UBimPayload::AddContainer(UBimPayloadContainerBase& container)
{
    Append(&container);
    container.AddRef();
}

void UBimPayload::Clear()
{
    for (unsigned long i = 0; i < m_containers.GetLength(); ++i)
        m_containers[i]->Release();
    m_containers.Clear();
}

void UBimPayload::Read(IO::UStream& stream, unsigned int uiLength, UBimReadFileCallback& callback)
{
    Clear();
    unsigned int remaining = uiLength;
    // Each container takes at least 32 bytes of the file, so a wrong length runs into the file's
    // end instead of looping.
    while (remaining != 0)
    {
        unsigned int fileSize = 0;
        UBimPayloadContainerBase* container = ReadContainer(stream, callback, &fileSize);
        try
        {
            Append(container);
        }
        catch (...)
        {
            container->Release();
            throw;
        }
        // What the container took in the file, not GetTotalContainerSize(): a Windows-image
        // container that held bytes, or merged firmware regions, count less after loading.
        remaining -= fileSize;
    }
}

void UBimPayload::Write(IO::UStream& stream)
{
    for (unsigned long i = 0; i < m_containers.GetLength(); ++i)
        m_containers[i]->Write(stream);
}

UBimPayloadContainerBase* UBimPayload::ReadContainer(IO::UStream& stream, UBimReadFileCallback& callback,
                                                     unsigned int* puiFileSize)
{
    // Handed to the container whatever happens; for an unknown encryption type nothing of this
    // container is ever read into it.
    unsigned char digest[20] = {};

    unsigned char header[12];
    if (Internal::ReadFully(stream, header, 12) < 12)
        throw UBimException(g_szEndOfStream);
    const unsigned int storedSize = Internal::LoadLE32(header + 4);
    const unsigned int plainSize = Internal::LoadLE32(header + 8);
    const long long start = stream.GetPosition();
    // Fails for a stored size that runs past the end of the file, before anything is allocated
    // for it.
    stream.SetView(start, storedSize);

    Internal::ReleasePtr<UBimPayloadContainerBase> container(MakeContainer(header[0]));
    container->SetEncryptionType(static_cast<UBimPayloadContainerEncryption>(header[1]));
    Cryptography::UEncryptionAlgorithm* algorithm = container->GetEncryptionAlgorithm();
    Internal::ReleasePtr<ICryptoTransform> decryptor;
    if (algorithm != nullptr)
    {
        callback.ProcessEncryptionAlgorithm(container->GetEncryptionType(), algorithm);
        decryptor.Reset(algorithm->CreateDecryptor());
    }

    bool parsed = false;
    if (container->GetEncryptionType() != eBimPayloadContainerEncryption_Unknown)
    {
        if (IsCheckable(decryptor.Get(), storedSize, plainSize))
        {
            parsed = ParseChecked(stream, *container.Get(), decryptor.Get(), start, storedSize, plainSize, digest);
            // A digest mismatch drops whatever the parse made of the bytes.
            if (!parsed)
                container.Reset(TakeEmptyOf(*container.Get()));
        }
        else
        {
            ReadDigest(stream, start, storedSize, digest);
        }
    }

    container->SetHashFromFile(digest);
    if (!parsed)
    {
        // Read again from the start of the stored bytes, as they stand.
        stream.SetView(start, storedSize);
        container->ReadInnerContainerRaw(stream, storedSize, plainSize);
    }

    stream.ResetView();
    stream.SetPosition(start + storedSize);
    const long padding = static_cast<long>(PaddingOf(storedSize));
    unsigned char skipped[20];
    if (padding != 0 && Internal::ReadFully(stream, skipped, padding) < static_cast<unsigned long>(padding))
        throw UBimException(g_szEndOfStream);
    if (Internal::ReadFully(stream, skipped, 20) < 20)
        throw UBimException(g_szEndOfStream);

    *puiFileSize = 12 + storedSize + static_cast<unsigned int>(padding) + 20;
    return container.Detach();
}

UBimPayloadContainerBase* UBimPayload::TakeEmptyOf(UBimPayloadContainerBase& parsed)
{
    UBimPayloadContainerBase* empty = MakeContainer(static_cast<unsigned char>(parsed.GetContainerType()));
    // The algorithm moves as it is: it is the object the application was handed to key.
    empty->m_eEncryption = parsed.m_eEncryption;
    empty->m_pAlgorithm = parsed.m_pAlgorithm;
    parsed.m_pAlgorithm = nullptr;
    return empty;
}

}}} // namespace Oskal::Lib::BIM
