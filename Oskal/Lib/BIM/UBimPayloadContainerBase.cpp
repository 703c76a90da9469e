#include <Oskal/Lib/BIM/UBimPayloadContainerBase.h>

#include <Oskal/Lib/Cryptography/UCryptoStream.h>
#include <Oskal/Lib/Cryptography/UIdentityTransform.h>
#include <Oskal/Lib/Cryptography/URijndael.h>
#include <Oskal/Lib/Cryptography/USHA1.h>
#include <Oskal/Lib/Internal/ByteOrder.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>
#include <Oskal/Lib/Internal/StreamRead.h>
#include <Oskal/Lib/UInvalidOperationException.h>

#include <cstring>

namespace Oskal { namespace Lib { namespace BIM {

using Cryptography::ICryptoTransform;
using Cryptography::UCryptoStream;

namespace {

// Largest piece handed to a single stream call: counts are 32-bit signed.
const unsigned int kPiece = 0x100000;

Cryptography::URijndael* NewRijndael()
{
    Cryptography::URijndael* algorithm = Cryptography::URijndael::Create();
    algorithm->SetCipherMode(Cryptography::eCipherMode_CBC);
    algorithm->SetPaddingMode(Cryptography::ePaddingMode_None);
    return algorithm;
}

} // namespace

UBimPayloadContainerBase::UBimPayloadContainerBase(UBimPayloadContainerType eType)
    : m_eType(eType), m_eEncryption(eBimPayloadContainerEncryption_None), m_pAlgorithm(nullptr), m_abyHashFromFile(),
      m_pbyRaw(nullptr), m_uiRawStoredSize(0), m_uiRawPlainSize(0)
{
}

UBimPayloadContainerBase::UBimPayloadContainerBase(const UBimPayloadContainerBase& other)
    : UReferenceManagement(other), m_eType(other.m_eType), m_eEncryption(eBimPayloadContainerEncryption_None),
      m_pAlgorithm(nullptr), m_abyHashFromFile(), m_pbyRaw(nullptr), m_uiRawStoredSize(0), m_uiRawPlainSize(0)
{
    try
    {
        *this = other;
    }
    catch (...)
    {
        FreeRaw();
        if (m_pAlgorithm != nullptr)
            m_pAlgorithm->Release();
        throw;
    }
}

UBimPayloadContainerBase& UBimPayloadContainerBase::operator=(const UBimPayloadContainerBase& other)
{
    if (this == &other)
        return *this;
    // Everything that can fail is made first.
    Cryptography::URijndael* algorithm = nullptr;
    unsigned char* raw = nullptr;
    try
    {
        if (other.m_pAlgorithm != nullptr)
        {
            algorithm = NewRijndael();
            const Cryptography::USymmetricAlgorithm* source =
                dynamic_cast<const Cryptography::USymmetricAlgorithm*>(other.m_pAlgorithm);
            if (source != nullptr)
            {
                algorithm->SetKey(source->GetKey(), source->GetKeySize() / 8);
                algorithm->SetInitializationVector(source->GetInitializationVector(), source->GetBlockSize() / 8);
            }
        }
        if (other.m_pbyRaw != nullptr)
        {
            raw = new unsigned char[other.m_uiRawStoredSize != 0 ? other.m_uiRawStoredSize : 1];
            std::memcpy(raw, other.m_pbyRaw, other.m_uiRawStoredSize);
        }
    }
    catch (...)
    {
        if (algorithm != nullptr)
            algorithm->Release();
        delete[] raw;
        throw;
    }
    if (m_pAlgorithm != nullptr)
        m_pAlgorithm->Release();
    FreeRaw();
    m_eType = other.m_eType;
    m_eEncryption = other.m_eEncryption;
    m_pAlgorithm = algorithm;
    std::memcpy(m_abyHashFromFile, other.m_abyHashFromFile, sizeof(m_abyHashFromFile));
    m_pbyRaw = raw;
    m_uiRawStoredSize = other.m_uiRawStoredSize;
    m_uiRawPlainSize = other.m_uiRawPlainSize;
    return *this;
}

UBimPayloadContainerBase::~UBimPayloadContainerBase()
{
    if (m_pAlgorithm != nullptr)
        m_pAlgorithm->Release();
    FreeRaw();
}

unsigned int UBimPayloadContainerBase::GetEncryptedInnerContainerSize() const
{
    Internal::ReleasePtr<ICryptoTransform> transform(GetWriterTransform());
    if (transform.Get() == nullptr)
        throw Exceptions::UInvalidOperationException(L"The container's encryption type is unknown.");
    return static_cast<unsigned int>(transform.Get()->GetTransformedSize(GetUnencryptedInnerContainerSize()));
}

unsigned int UBimPayloadContainerBase::GetTotalContainerSize() const
{
    const unsigned int size = m_pbyRaw != nullptr ? m_uiRawStoredSize : GetEncryptedInnerContainerSize();
    return 12 + ((size + 3) & ~3u) + 20;
}

void UBimPayloadContainerBase::Write(IO::UStream& stream) const
{
    if (m_pbyRaw != nullptr)
    {
        WriteContainerHeader(stream, m_uiRawStoredSize, m_uiRawPlainSize);
        // Kept: no padding after raw bytes, although reading skips it (pinned by
        // UBimFileWrite.RawBytesAreWrittenWithoutPadding)
        WriteInnerContainerRaw(stream);
        stream.Write(m_abyHashFromFile, sizeof(m_abyHashFromFile));
        return;
    }

    const unsigned int plainSize = GetUnencryptedInnerContainerSize();
    const unsigned int storedSize = GetEncryptedInnerContainerSize();
    WriteContainerHeader(stream, storedSize, plainSize);

    Internal::ReleasePtr<Cryptography::USHA1> hash(Cryptography::USHA1::Create());
    Internal::ReleasePtr<ICryptoTransform> transform(GetWriterTransform());
    {
        // The digest is taken over the plain bytes; the cipher text reaches the file.
        UCryptoStream ciphering(&stream, transform.Get(), Cryptography::eCryptoStreamMode_Write);
        UCryptoStream hashing(&ciphering, hash.Get(), Cryptography::eCryptoStreamMode_Write);
        WriteInnerContainer(hashing);
        hashing.FlushFinalBlock();
        ciphering.FlushFinalBlock();
    }
    WritePadding(stream, storedSize);
    stream.Write(hash->GetHash(), 20);
}

UBimPayloadContainerType UBimPayloadContainerBase::GetContainerType() const
{
    return m_eType;
}

UBimPayloadContainerEncryption UBimPayloadContainerBase::GetEncryptionType() const
{
    return m_eEncryption;
}

void UBimPayloadContainerBase::SetEncryptionType(UBimPayloadContainerEncryption eEncryption)
{
    if (eEncryption == m_eEncryption)
        return;
    Cryptography::URijndael* algorithm = nullptr;
    if (eEncryption == eBimPayloadContainerEncryption_Rijndael)
        algorithm = NewRijndael();
    if (m_pAlgorithm != nullptr)
        m_pAlgorithm->Release();
    m_pAlgorithm = algorithm;
    if (eEncryption == eBimPayloadContainerEncryption_None || eEncryption == eBimPayloadContainerEncryption_Rijndael)
        m_eEncryption = eEncryption;
    else
        m_eEncryption = eBimPayloadContainerEncryption_Unknown;
}

Cryptography::UEncryptionAlgorithm* UBimPayloadContainerBase::GetEncryptionAlgorithm() const
{
    return m_pAlgorithm;
}

int UBimPayloadContainerBase::IsRaw() const
{
    return m_pbyRaw != nullptr ? 1 : 0;
}

unsigned int UBimPayloadContainerBase::GetStoredSize() const
{
    return m_pbyRaw != nullptr ? m_uiRawStoredSize : GetEncryptedInnerContainerSize();
}

unsigned int UBimPayloadContainerBase::GetPlainSize() const
{
    return m_pbyRaw != nullptr ? m_uiRawPlainSize : GetUnencryptedInnerContainerSize();
}

const unsigned char* UBimPayloadContainerBase::GetHashFromFile() const
{
    return m_abyHashFromFile;
}

void UBimPayloadContainerBase::ReadInnerContainerRaw(IO::UStream& stream, unsigned int uiStoredSize,
                                                     unsigned int uiPlainSize)
{
    FreeRaw();
    // Callers bound the stored size by the bytes the file holds before calling.
    m_pbyRaw = new unsigned char[uiStoredSize != 0 ? uiStoredSize : 1];
    m_uiRawStoredSize = uiStoredSize;
    m_uiRawPlainSize = uiPlainSize;
    const unsigned int done = static_cast<unsigned int>(Internal::ReadFully(stream, m_pbyRaw, uiStoredSize));
    // A short read is not an error here (the digest check decides); the rest must not hold
    // leftovers of the heap.
    if (done < uiStoredSize)
        std::memset(m_pbyRaw + done, 0, uiStoredSize - done);
}

void UBimPayloadContainerBase::WriteInnerContainerRaw(IO::UStream& stream) const
{
    unsigned int done = 0;
    while (done < m_uiRawStoredSize)
    {
        const unsigned int piece = m_uiRawStoredSize - done < kPiece ? m_uiRawStoredSize - done : kPiece;
        stream.Write(m_pbyRaw + done, static_cast<long>(piece));
        done += piece;
    }
}

void UBimPayloadContainerBase::SetHashFromFile(const unsigned char* pbyHash)
{
    std::memcpy(m_abyHashFromFile, pbyHash, sizeof(m_abyHashFromFile));
}

ICryptoTransform* UBimPayloadContainerBase::GetWriterTransform() const
{
    if (m_eEncryption == eBimPayloadContainerEncryption_None)
        return Cryptography::UIdentityTransform::Create();
    if (m_pAlgorithm != nullptr)
        return m_pAlgorithm->CreateEncryptor();
    return nullptr;
}

void UBimPayloadContainerBase::WriteContainerHeader(IO::UStream& stream, unsigned int uiStoredSize,
                                                    unsigned int uiPlainSize) const
{
    unsigned char header[12] = {static_cast<unsigned char>(m_eType), static_cast<unsigned char>(m_eEncryption), 0, 0};
    Internal::StoreLE32(header + 4, uiStoredSize);
    Internal::StoreLE32(header + 8, uiPlainSize);
    stream.Write(header, 12);
}

void UBimPayloadContainerBase::WritePadding(IO::UStream& stream, unsigned int uiSize)
{
    static const unsigned char zeros[3] = {0, 0, 0};
    if (uiSize % 4 != 0)
        stream.Write(zeros, static_cast<long>(4 - uiSize % 4));
}

void UBimPayloadContainerBase::FreeRaw()
{
    delete[] m_pbyRaw;
    m_pbyRaw = nullptr;
    m_uiRawStoredSize = 0;
    m_uiRawPlainSize = 0;
}

}}} // namespace Oskal::Lib::BIM
