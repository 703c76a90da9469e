#pragma once

#include <Oskal/Lib/BIM/UBimPayloadContainerEncryption.h>
#include <Oskal/Lib/BIM/UBimPayloadContainerType.h>
#include <Oskal/Lib/Cryptography/ICryptoTransform.h>
#include <Oskal/Lib/Cryptography/UEncryptionAlgorithm.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UStream.h>
#include <Oskal/Lib/UReferenceManagement.h>

namespace Oskal { namespace Lib { namespace BIM {

class UBimPayload;

// One container of a BIM payload: a type, an encryption type, the inner bytes and the SHA-1
// digest of those bytes in plain form. A container whose contents could not be checked or
// deciphered when it was read (digest mismatch, wrong key, unknown encryption) is held raw:
// its stored bytes, both sizes and the digest from the file are kept and written back as they
// stand.
class OSKAL_LIB_API UBimPayloadContainerBase : public UReferenceManagement
{
public:
    // Size of the inner container before encryption.
    virtual unsigned int GetUnencryptedInnerContainerSize() const = 0;
    // The plain size passed through the writer transform's GetTransformedSize.
    virtual unsigned int GetEncryptedInnerContainerSize() const;
    // 12 + the stored size rounded up to a multiple of 4 + 20; the raw stored size for a raw
    // container.
    virtual unsigned int GetTotalContainerSize() const;
    // Parses uiPlainSize plain bytes of inner container from the stream.
    virtual void ReadInnerContainer(IO::UStream& stream, unsigned int uiPlainSize) = 0;
    // Header, inner bytes (enciphered and hashed on the way), padding and digest.
    virtual void Write(IO::UStream& stream) const;
    // Writes the plain inner bytes.
    virtual void WriteInnerContainer(IO::UStream& stream) const = 0;

    UBimPayloadContainerType GetContainerType() const;
    UBimPayloadContainerEncryption GetEncryptionType() const;
    // Same type: nothing happens. Rijndael makes a new algorithm (CBC, no padding) that the
    // application gives a key and IV through GetEncryptionAlgorithm; None keeps no algorithm;
    // any other value is held as Unknown.
    void SetEncryptionType(UBimPayloadContainerEncryption eEncryption);
    // The container's own algorithm (no reference added), null unless the type is Rijndael.
    Cryptography::UEncryptionAlgorithm* GetEncryptionAlgorithm() const;

    // 1 when the container holds its stored bytes as read from the file instead of parsed
    // contents.
    int IsRaw() const;
    // Bytes of the inner container as they stand (would stand) in the file: the raw stored size,
    // or GetEncryptedInnerContainerSize().
    unsigned int GetStoredSize() const;
    // Bytes of the inner container in plain form: the raw plain size, or
    // GetUnencryptedInnerContainerSize().
    unsigned int GetPlainSize() const;
    // The 20 digest bytes kept from the file (zero for a container not read from one).
    const unsigned char* GetHashFromFile() const;

protected:
    explicit UBimPayloadContainerBase(UBimPayloadContainerType eType);
    // Copies the type, the encryption type (a new algorithm with the other's key and IV), the
    // digest and the raw bytes.
    UBimPayloadContainerBase(const UBimPayloadContainerBase& other);
    UBimPayloadContainerBase& operator=(const UBimPayloadContainerBase& other);
    ~UBimPayloadContainerBase() override;

    friend class UBimPayload;

    // Drops any raw bytes held and reads uiStoredSize bytes as they stand.
    void ReadInnerContainerRaw(IO::UStream& stream, unsigned int uiStoredSize, unsigned int uiPlainSize);
    void WriteInnerContainerRaw(IO::UStream& stream) const;
    void SetHashFromFile(const unsigned char* pbyHash);
    // New identity transform (None), the algorithm's encryptor, or null; the caller releases it.
    Cryptography::ICryptoTransform* GetWriterTransform() const;
    // Writes the 12-byte container header.
    void WriteContainerHeader(IO::UStream& stream, unsigned int uiStoredSize, unsigned int uiPlainSize) const;
    // Zero bytes up to the next multiple of 4 of uiSize.
    static void WritePadding(IO::UStream& stream, unsigned int uiSize);
    // Drops the raw bytes; the container is no longer raw.
    void FreeRaw();

    UBimPayloadContainerType m_eType;
    UBimPayloadContainerEncryption m_eEncryption;
    Cryptography::UEncryptionAlgorithm* m_pAlgorithm;
    unsigned char m_abyHashFromFile[20];
    unsigned char* m_pbyRaw;
    unsigned int m_uiRawStoredSize;
    unsigned int m_uiRawPlainSize;
};

}}} // namespace Oskal::Lib::BIM
