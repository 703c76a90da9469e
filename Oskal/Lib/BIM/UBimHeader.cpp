#include <Oskal/Lib/BIM/UBimHeader.h>

#include <Oskal/Lib/BIM/UBimException.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterDateOfCreation.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterLastParameter.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterLongDescription.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterPayloadLength.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterShortDescription.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterTargetSystem.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterUnknown.h>
#include <Oskal/Lib/Internal/ByteOrder.h>
#include <Oskal/Lib/Internal/ReleasePtr.h>
#include <Oskal/Lib/Internal/StreamRead.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace Oskal { namespace Lib { namespace BIM {

namespace {

const wchar_t g_szEndOfFile[] = L"Unexpected end of file.";

} // namespace

UBimHeader::UBimHeader() : m_uiPayloadLength(0)
{
    m_parameters.SetGrowCount(16);
}

UBimHeader::UBimHeader(const UBimHeader& other) : m_uiPayloadLength(0)
{
    m_parameters.SetGrowCount(16);
    *this = other;
}

UBimHeader::~UBimHeader()
{
    Clear();
}

UBimHeader& UBimHeader::operator=(const UBimHeader& other)
{
    if (this == &other)
        return *this;
    // The copies are made first, so a failure leaves this header as it was.
    Collections::UVector<UBimHeaderParameterBase*> copies;
    copies.SetGrowCount(16);
    try
    {
        for (unsigned long i = 0; i < other.m_parameters.GetLength(); ++i)
        {
            UBimHeaderParameterBase* copy = other.m_parameters[i]->Dupe();
            try
            {
                copies.Add(copy);
            }
            catch (...)
            {
                copy->Release();
                throw;
            }
        }
    }
    catch (...)
    {
        for (unsigned long i = 0; i < copies.GetLength(); ++i)
            copies[i]->Release();
        throw;
    }
    Clear();
    m_parameters = copies;
    m_parameters.SetGrowCount(16);
    m_uiPayloadLength = other.m_uiPayloadLength;
    return *this;
}

UBimHeaderParameterBase* UBimHeader::GetParameter(long lIndex)
{
    if (lIndex < 0 || static_cast<unsigned long>(lIndex) >= m_parameters.GetLength())
        return nullptr;
    return m_parameters[static_cast<unsigned long>(lIndex)];
}

const UBimHeaderParameterBase* UBimHeader::GetParameter(long lIndex) const
{
    return const_cast<UBimHeader*>(this)->GetParameter(lIndex);
}

UBimHeaderParameterBase* UBimHeader::GetParameter(UBimHeaderParameterTag eTag, long lIndex)
{
    if (lIndex < 0)
        return nullptr;
    long seen = 0;
    for (unsigned long i = 0; i < m_parameters.GetLength(); ++i)
    {
        if (m_parameters[i]->GetTag() != eTag)
            continue;
        if (seen == lIndex)
            return m_parameters[i];
        ++seen;
    }
    return nullptr;
}

const UBimHeaderParameterBase* UBimHeader::GetParameter(UBimHeaderParameterTag eTag, long lIndex) const
{
    return const_cast<UBimHeader*>(this)->GetParameter(eTag, lIndex);
}

long UBimHeader::GetParameterCount() const
{
    return static_cast<long>(m_parameters.GetLength());
}

void UBimHeader::AddParameter(UBimHeaderParameterTag eTag, UBimHeaderParameterBase** ppParameter)
{
    UBimHeaderParameterBase* parameter = CreateParameter(eTag);
    Append(parameter);
    if (ppParameter != nullptr)
        *ppParameter = parameter;
}

int UBimHeader::RemoveParameter(UBimHeaderParameterTag eTag, long lIndex)
{
    int removed = 0;
    long seen = 0;
    unsigned long kept = 0;
    for (unsigned long i = 0; i < m_parameters.GetLength(); ++i)
    {
        UBimHeaderParameterBase* parameter = m_parameters[i];
        if (parameter->GetTag() == eTag && (lIndex < 0 || seen++ == lIndex))
        {
            parameter->Release();
            removed = 1;
            continue;
        }
        m_parameters[kept++] = parameter;
    }
    // Shrinking never reallocates.
    while (m_parameters.GetLength() > kept)
        m_parameters.RemoveRange(m_parameters.GetLength() - 1, 1);
    return removed;
}

void UBimHeader::Clear()
{
    for (unsigned long i = 0; i < m_parameters.GetLength(); ++i)
        m_parameters[i]->Release();
    m_parameters.Clear();
}

unsigned int UBimHeader::GetPayloadLength() const
{
    return m_uiPayloadLength;
}

void UBimHeader::SetPayloadLength(unsigned int uiPayloadLength)
{
    m_uiPayloadLength = uiPayloadLength;
}

void UBimHeader::Append(UBimHeaderParameterBase* pParameter)
{
    try
    {
        // Growing by the list's own length keeps many records linear to load.
        m_parameters.SetGrowCount(m_parameters.GetLength() > 16 ? m_parameters.GetLength() : 16);
        m_parameters.Add(pParameter);
    }
    catch (...)
    {
        pParameter->Release();
        throw;
    }
}

void UBimHeader::Read(IO::UStream& stream)
{
    ReadBIMF(stream);
    Clear();
    // A header without a payload-length record has no payload; nothing of an earlier load stays.
    m_uiPayloadLength = 0;
    // The record is 64 KiB: kept off the stack.
    std::unique_ptr<BIM_HEADER_TLV> tlv(new BIM_HEADER_TLV());
    ReadTLV(stream, *tlv);
    while (tlv->wTag != eBimHeaderParameterTag_LastParameter)
    {
        ProcessTLV(*tlv);
        ReadTLV(stream, *tlv);
    }
}

void UBimHeader::ReadBIMF(IO::UStream& stream)
{
    unsigned char marker[4];
    if (Internal::ReadFully(stream, marker, 4) < 4)
        throw UBimException(L"Unexpected end of stream.");
    if (std::memcmp(marker, "BIMF", 4) != 0)
        throw UBimException(L"BIM file marker (BIMF) not found.");
}

void UBimHeader::ReadTLV(IO::UStream& stream, BIM_HEADER_TLV& tlv)
{
    unsigned char head[4];
    if (Internal::ReadFully(stream, head, 4) < 4)
        throw UBimException(g_szEndOfFile);
    tlv.wTag = Internal::LoadLE16(head);
    tlv.wLength = Internal::LoadLE16(head + 2);
    if (tlv.wLength == 0)
        return;
    // At most 65536 bytes: the value area holds the longest padded value.
    const long padded = (static_cast<long>(tlv.wLength) + 3) & ~3L;
    if (Internal::ReadFully(stream, tlv.abyValue, padded) < static_cast<unsigned long>(padded))
        throw UBimException(g_szEndOfFile);
}

void UBimHeader::ProcessTLV(const BIM_HEADER_TLV& tlv)
{
    if (tlv.wTag == eBimHeaderParameterTag_PayloadLength)
    {
        if (tlv.wLength != 4)
            throw UBimException(L"Invalid parameter length.");
        const unsigned char* value = tlv.abyValue;
        m_uiPayloadLength = Internal::LoadLE32(value);
        return;
    }
    Append(CreateParameter(tlv));
}

UBimHeaderParameterBase* UBimHeader::CreateParameter(UBimHeaderParameterTag eTag)
{
    switch (eTag)
    {
    case eBimHeaderParameterTag_TargetSystem:
        return UBimHeaderParameterTargetSystem::Create();
    case eBimHeaderParameterTag_PayloadLength:
        return UBimHeaderParameterPayloadLength::Create();
    case eBimHeaderParameterTag_ShortDescription:
        return UBimHeaderParameterShortDescription::Create();
    case eBimHeaderParameterTag_LongDescription:
        return UBimHeaderParameterLongDescription::Create();
    case eBimHeaderParameterTag_DateOfCreation:
        return UBimHeaderParameterDateOfCreation::Create();
    default:
        return UBimHeaderParameterUnknown::Create(eTag);
    }
}

UBimHeaderParameterBase* UBimHeader::CreateParameter(const BIM_HEADER_TLV& tlv)
{
    UBimHeaderParameterBase* parameter = nullptr;
    switch (tlv.wTag)
    {
    case eBimHeaderParameterTag_TargetSystem:
        parameter = UBimHeaderParameterTargetSystem::Create(tlv);
        break;
    case eBimHeaderParameterTag_PayloadLength:
        parameter = UBimHeaderParameterPayloadLength::Create(tlv);
        break;
    case eBimHeaderParameterTag_ShortDescription:
        parameter = UBimHeaderParameterShortDescription::Create(tlv);
        break;
    case eBimHeaderParameterTag_LongDescription:
        parameter = UBimHeaderParameterLongDescription::Create(tlv);
        break;
    case eBimHeaderParameterTag_DateOfCreation:
        parameter = UBimHeaderParameterDateOfCreation::Create(tlv);
        break;
    case eBimHeaderParameterTag_LastParameter:
        parameter = UBimHeaderParameterLastParameter::Create(tlv);
        break;
    default:
        parameter = UBimHeaderParameterUnknown::Create(tlv);
        break;
    }
    if (!parameter->IsValid())
    {
        parameter->Release();
        wchar_t message[100];
        std::swprintf(message, 100, L"Header parameter 0x%02x is invalid.", static_cast<unsigned int>(tlv.wTag));
        throw UBimException(message);
    }
    return parameter;
}

void UBimHeader::Write(IO::UStream& stream) const
{
    stream.Write("BIMF", 4);
    for (unsigned long i = 0; i < m_parameters.GetLength(); ++i)
        m_parameters[i]->Write(stream);

    // Kept: the payload length is written after the list, also when the list holds a
    // payload-length record of its own; reading keeps the later one (pinned by
    // UBimFileWrite.PayloadLengthInTheListIsWrittenTwiceAndTheLaterWins)
    Internal::ReleasePtr<UBimHeaderParameterPayloadLength> payloadLength(
        UBimHeaderParameterPayloadLength::Create(m_uiPayloadLength));
    payloadLength->Write(stream);
    Internal::ReleasePtr<UBimHeaderParameterLastParameter> last(UBimHeaderParameterLastParameter::Create());
    last->Write(stream);
}

}}} // namespace Oskal::Lib::BIM
