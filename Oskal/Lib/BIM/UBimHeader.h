#pragma once

#include <Oskal/Lib/BIM/BIM_HEADER_TLV.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterBase.h>
#include <Oskal/Lib/BIM/UBimHeaderParameterTag.h>
#include <Oskal/Lib/Collections/UVector.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UStream.h>

namespace Oskal { namespace Lib { namespace BIM {

class UBimFile;

// The header of a BIM file: a list of parameters in insertion (file) order, duplicates allowed,
// and the payload length, which is never a list entry.
class OSKAL_LIB_API UBimHeader
{
public:
    UBimHeader();
    // Copies the payload length and a Dupe of every parameter, in order.
    UBimHeader(const UBimHeader& other);
    ~UBimHeader();

    UBimHeader& operator=(const UBimHeader& other);

    // The parameter at that 0-based place of the list, or null past the end. No reference is
    // added.
    UBimHeaderParameterBase* GetParameter(long lIndex);
    const UBimHeaderParameterBase* GetParameter(long lIndex) const;
    // The lIndex-th (0-based) parameter with the tag, in list order, or null.
    UBimHeaderParameterBase* GetParameter(UBimHeaderParameterTag eTag, long lIndex);
    const UBimHeaderParameterBase* GetParameter(UBimHeaderParameterTag eTag, long lIndex) const;
    // Number of parameters in the list.
    long GetParameterCount() const;
    // Appends a new, empty parameter of the tag's class (tags 1 to 5; every other tag, 0xFFFF
    // included, gives an unknown parameter) and returns it through ppParameter. The header keeps
    // the reference: the caller doesn't release it.
    void AddParameter(UBimHeaderParameterTag eTag, UBimHeaderParameterBase** ppParameter);
    // With a negative index every parameter with the tag, otherwise the lIndex-th of them.
    // Returns 1 if anything was removed.
    int RemoveParameter(UBimHeaderParameterTag eTag, long lIndex);
    // Releases every parameter.
    void Clear();

    unsigned int GetPayloadLength() const;
    void SetPayloadLength(unsigned int uiPayloadLength);

protected:
    friend class UBimFile;

    // The marker, the records up to the terminator; the list keeps file order.
    void Read(IO::UStream& stream);
    // The marker, every listed parameter, then a payload-length record and a terminator.
    void Write(IO::UStream& stream) const;
    void ReadBIMF(IO::UStream& stream);
    void ReadTLV(IO::UStream& stream, BIM_HEADER_TLV& tlv);
    void ProcessTLV(const BIM_HEADER_TLV& tlv);
    // A new parameter of the tag's class, empty.
    static UBimHeaderParameterBase* CreateParameter(UBimHeaderParameterTag eTag);
    // A new parameter of the record's class, made from it; throws UBimException when it is
    // invalid.
    static UBimHeaderParameterBase* CreateParameter(const BIM_HEADER_TLV& tlv);

private:
    void Append(UBimHeaderParameterBase* pParameter);

    Collections::UVector<UBimHeaderParameterBase*> m_parameters;
    unsigned int m_uiPayloadLength;
};

}}} // namespace Oskal::Lib::BIM
