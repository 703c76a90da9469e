#include <Oskal/Lib/BIM/UBimPayloadContainerUnknown.h>

#include <cstring>

namespace Oskal { namespace Lib { namespace BIM {

namespace {

const unsigned int kPiece = 0x100000;

} // namespace

UBimPayloadContainerUnknown* UBimPayloadContainerUnknown::Create(UBimPayloadContainerType eType)
{
    return new UBimPayloadContainerUnknown(eType);
}

UBimPayloadContainerUnknown::UBimPayloadContainerUnknown(UBimPayloadContainerType eType)
    : UBimPayloadContainerBase(eType), m_pbyData(nullptr), m_uiSize(0)
{
}

UBimPayloadContainerUnknown::UBimPayloadContainerUnknown(const UBimPayloadContainerUnknown& other)
    : UBimPayloadContainerBase(other), m_pbyData(nullptr), m_uiSize(0)
{
    if (other.m_pbyData != nullptr)
    {
        m_pbyData = new unsigned char[other.m_uiSize != 0 ? other.m_uiSize : 1];
        std::memcpy(m_pbyData, other.m_pbyData, other.m_uiSize);
        m_uiSize = other.m_uiSize;
    }
}

UBimPayloadContainerUnknown& UBimPayloadContainerUnknown::operator=(const UBimPayloadContainerUnknown& other)
{
    if (this == &other)
        return *this;
    unsigned char* data = nullptr;
    if (other.m_pbyData != nullptr)
    {
        data = new unsigned char[other.m_uiSize != 0 ? other.m_uiSize : 1];
        std::memcpy(data, other.m_pbyData, other.m_uiSize);
    }
    try
    {
        UBimPayloadContainerBase::operator=(other);
    }
    catch (...)
    {
        delete[] data;
        throw;
    }
    delete[] m_pbyData;
    m_pbyData = data;
    m_uiSize = other.m_uiSize;
    return *this;
}

UBimPayloadContainerUnknown::~UBimPayloadContainerUnknown()
{
    delete[] m_pbyData;
}

unsigned int UBimPayloadContainerUnknown::GetUnencryptedInnerContainerSize() const
{
    return m_uiSize;
}

void UBimPayloadContainerUnknown::ReadInnerContainer(IO::UStream& stream, unsigned int uiPlainSize)
{
    // The reader hands over no more plain bytes than the file stores for the container.
    unsigned char* data = new unsigned char[uiPlainSize != 0 ? uiPlainSize : 1];
    unsigned int done = 0;
    while (done < uiPlainSize)
    {
        const unsigned int piece = uiPlainSize - done < kPiece ? uiPlainSize - done : kPiece;
        long n = 0;
        try
        {
            n = stream.Read(data + done, static_cast<long>(piece));
        }
        catch (...)
        {
            delete[] data;
            throw;
        }
        if (n <= 0)
            break;
        done += static_cast<unsigned int>(n);
    }
    if (done < uiPlainSize)
        std::memset(data + done, 0, uiPlainSize - done);
    delete[] m_pbyData;
    m_pbyData = data;
    m_uiSize = uiPlainSize;
}

void UBimPayloadContainerUnknown::Write(IO::UStream& stream) const
{
    if (IsRaw())
    {
        UBimPayloadContainerBase::Write(stream);
        return;
    }
    // Kept: written in plain form with the digest read from the file, whatever encryption it was
    // read with (pinned by UBimFileWrite.UnknownContainerReadWithEncryptionIsWrittenInPlainForm)
    const unsigned int storedSize = GetEncryptedInnerContainerSize();
    WriteContainerHeader(stream, storedSize, GetUnencryptedInnerContainerSize());
    WriteInnerContainer(stream);
    // Encrypted containers state a stored size of whole cipher blocks; the zeros keep the
    // payload's layout in step with it.
    static const unsigned char zeros[16] = {};
    for (unsigned int done = m_uiSize; done < storedSize;)
    {
        const unsigned int piece = storedSize - done < sizeof(zeros) ? storedSize - done : sizeof(zeros);
        stream.Write(zeros, static_cast<long>(piece));
        done += piece;
    }
    WritePadding(stream, storedSize);
    stream.Write(m_abyHashFromFile, sizeof(m_abyHashFromFile));
}

void UBimPayloadContainerUnknown::WriteInnerContainer(IO::UStream& stream) const
{
    for (unsigned int done = 0; done < m_uiSize;)
    {
        const unsigned int piece = m_uiSize - done < kPiece ? m_uiSize - done : kPiece;
        stream.Write(m_pbyData + done, static_cast<long>(piece));
        done += piece;
    }
}

const unsigned char* UBimPayloadContainerUnknown::GetData() const
{
    return m_pbyData;
}

}}} // namespace Oskal::Lib::BIM
