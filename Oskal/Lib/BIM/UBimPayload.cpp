#include <Oskal/Lib/BIM/UBimPayload.h>

#include <Oskal/Lib/BIM/UBimException.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerFirmware.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerUnknown.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerWindows.h>
#include <Oskal/Lib/Cryptography/UCryptoStream.h>
#include <Oskal/Lib/Cryptography/UIdentityTransform.h>
#include <Oskal/Lib/Cryptography/USHA1.h>

#include <cstring>
#include <memory>

namespace Oskal { namespace Lib { namespace BIM {

using Cryptography::ICryptoTransform;
using Cryptography::UCryptoStream;

namespace {

const wchar_t g_szEndOfStream[] = L"Unexpected end of stream.";
const unsigned long kCheckPiece = 16384;
// Pieces read straight from the file when no cipher is involved.
const unsigned long kDirectPiece = 262144;

long ReadFully(IO::UStream& stream, unsigned char* pbyBuffer, long lCount)
{
    long total = 0;
    while (total < lCount)
    {
        const long n = stream.Read(pbyBuffer + total, lCount - total);
        if (n <= 0)
            break;
        total += n;
    }
    return total;
}

unsigned int U32(const unsigned char* pby)
{
    return static_cast<unsigned int>(pby[0]) | static_cast<unsigned int>(pby[1]) << 8 |
           static_cast<unsigned int>(pby[2]) << 16 | static_cast<unsigned int>(pby[3]) << 24;
}

unsigned int PaddingOf(unsigned int uiSize)
{
    return (4 - uiSize % 4) % 4;
}

// Owns one transform at a time.
class TransformSlot
{
public:
    explicit TransformSlot(ICryptoTransform* p) : m_p(p) {}
    ~TransformSlot() { Reset(nullptr); }
    TransformSlot(const TransformSlot&) = delete;
    TransformSlot& operator=(const TransformSlot&) = delete;
    ICryptoTransform* Get() const { return m_p; }
    void Reset(ICryptoTransform* p)
    {
        if (m_p != nullptr)
            m_p->Release();
        m_p = p;
    }

private:
    ICryptoTransform* m_p;
};

// Releases a container unless it was handed on.
class ContainerHolder
{
public:
    explicit ContainerHolder(UBimPayloadContainerBase* p) : m_p(p) {}
    ~ContainerHolder()
    {
        if (m_p != nullptr)
            m_p->Release();
    }
    ContainerHolder(const ContainerHolder&) = delete;
    ContainerHolder& operator=(const ContainerHolder&) = delete;
    UBimPayloadContainerBase* operator->() const { return m_p; }
    UBimPayloadContainerBase* Take()
    {
        UBimPayloadContainerBase* p = m_p;
        m_p = nullptr;
        return p;
    }

private:
    UBimPayloadContainerBase* m_p;
};

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

void UBimPayload::AddContainer(UBimPayloadContainerBase& container)
{
    m_containers.Add(&container);
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
            m_containers.Add(container);
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
    std::unique_ptr<Cryptography::USHA1, void (*)(Cryptography::USHA1*)> hash(
        Cryptography::USHA1::Create(), [](Cryptography::USHA1* p) { p->Release(); });
    std::unique_ptr<unsigned char[]> buffer(new unsigned char[kCheckPiece]);
    std::unique_ptr<unsigned char[]> direct;
    // Handed to the container whatever happens; for an unknown encryption type nothing of this
    // container is ever read into it.
    unsigned char digest[20] = {};

    unsigned char header[12];
    if (ReadFully(stream, header, 12) < 12)
        throw UBimException(g_szEndOfStream);
    const unsigned int storedSize = U32(header + 4);
    const unsigned int plainSize = U32(header + 8);
    const long long start = stream.GetPosition();
    // Fails for a stored size that runs past the end of the file, before anything is allocated
    // for it.
    stream.SetView(start, storedSize);

    ContainerHolder container(MakeContainer(header[0]));
    container->SetEncryptionType(static_cast<UBimPayloadContainerEncryption>(header[1]));
    Cryptography::UEncryptionAlgorithm* algorithm = container->GetEncryptionAlgorithm();
    TransformSlot transform(nullptr);
    if (algorithm != nullptr)
    {
        callback.ProcessEncryptionAlgorithm(container->GetEncryptionType(), algorithm);
        transform.Reset(algorithm->CreateDecryptor());
    }
    else
    {
        transform.Reset(Cryptography::UIdentityTransform::Create());
    }

    bool matched = false;
    if (container->GetEncryptionType() != eBimPayloadContainerEncryption_Unknown)
    {
        unsigned long block = transform.Get()->GetInputBlockSize();
        if (block == 0)
            block = 1;
        // Stored bytes that are no whole number of cipher blocks cannot be deciphered, and a
        // plain size beyond the stored bytes cannot be right: such a container stays raw.
        const bool checkable = storedSize % block == 0 && plainSize <= storedSize;
        if (checkable && algorithm == nullptr && storedSize != 0)
            direct.reset(new unsigned char[storedSize < kDirectPiece ? storedSize : kDirectPiece]);
        if (checkable)
        {
            hash->Reset();
            if (algorithm == nullptr)
            {
                // Without a cipher the stored bytes are the plain bytes: hashed straight from
                // the file, in large pieces.
                unsigned int done = 0;
                while (done < storedSize)
                {
                    const unsigned int piece = storedSize - done < kDirectPiece ? storedSize - done : kDirectPiece;
                    if (ReadFully(stream, direct.get(), static_cast<long>(piece)) < static_cast<long>(piece))
                        throw UBimException(g_szEndOfStream);
                    if (done < plainSize)
                        hash->HashCore(direct.get(),
                                       static_cast<long>(plainSize - done < piece ? plainSize - done : piece));
                    done += piece;
                }
            }
            else
            {
                UCryptoStream reading(&stream, transform.Get(), Cryptography::eCryptoStreamMode_Read);
                unsigned int done = 0;
                while (done < storedSize)
                {
                    const unsigned int piece = storedSize - done < kCheckPiece ? storedSize - done : kCheckPiece;
                    if (ReadFully(reading, buffer.get(), static_cast<long>(piece)) < static_cast<long>(piece))
                        throw UBimException(g_szEndOfStream);
                    if (done < plainSize)
                        hash->HashCore(buffer.get(),
                                       static_cast<long>(plainSize - done < piece ? plainSize - done : piece));
                    done += piece;
                }
            }
            hash->HashFinal();
        }
        // The digest follows the padding after the stored bytes.
        stream.ResetView();
        stream.SetPosition(start + storedSize + PaddingOf(storedSize));
        if (ReadFully(stream, digest, 20) < 20)
            throw UBimException(g_szEndOfStream);
        stream.SetView(start, storedSize);
        matched = checkable && std::memcmp(hash->GetHash(), digest, 20) == 0;
        if (matched && algorithm != nullptr)
            transform.Reset(algorithm->CreateDecryptor());
        else
            transform.Reset(Cryptography::UIdentityTransform::Create());
    }

    container->SetHashFromFile(digest);
    if (matched && algorithm == nullptr)
    {
        // The identity transform passes bytes through unchanged: the container reads the view
        // itself and saves a copy of every byte.
        container->ReadInnerContainer(stream, plainSize);
    }
    else if (matched)
    {
        UCryptoStream reading(&stream, transform.Get(), Cryptography::eCryptoStreamMode_Read);
        container->ReadInnerContainer(reading, plainSize);
    }
    else
    {
        container->ReadInnerContainerRaw(stream, storedSize, plainSize);
    }

    stream.ResetView();
    stream.SetPosition(start + storedSize);
    const long padding = static_cast<long>(PaddingOf(storedSize));
    unsigned char skipped[20];
    if (padding != 0 && ReadFully(stream, skipped, padding) < padding)
        throw UBimException(g_szEndOfStream);
    if (ReadFully(stream, skipped, 20) < 20)
        throw UBimException(g_szEndOfStream);

    *puiFileSize = 12 + storedSize + static_cast<unsigned int>(padding) + 20;
    return container.Take();
}

}}} // namespace Oskal::Lib::BIM
