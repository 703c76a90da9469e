#pragma once

#include <Oskal/Lib/BIM/UBimHeader.h>
#include <Oskal/Lib/BIM/UBimPayload.h>
#include <Oskal/Lib/BIM/UBimReadFileCallback.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UStream.h>

namespace Oskal { namespace Lib { namespace BIM {

// A BIM image file: a header, a payload of containers, and a SHA-1 checksum over everything
// before it. Format failures throw UBimException; opening and reading failures come from the
// file stream. A failed Load leaves header and payload as far as they were filled.
class OSKAL_LIB_API UBimFile
{
public:
    UBimFile();
    ~UBimFile();

    UBimHeader& GetHeader();
    const UBimHeader& GetHeader() const;
    UBimPayload& GetPayload();
    const UBimPayload& GetPayload() const;

    // Checks the file checksum before anything is parsed, then reads the header, asks the
    // callback whether to go on and reads the payload. Keys are handed in by the callback.
    void Load(const wchar_t* pszFileName, UBimReadFileCallback& callback);
    // Writes what the objects hold now, replacing any file of that name. The header's payload
    // length is set from the payload.
    void Save(const wchar_t* pszFileName);

private:
    UBimFile(const UBimFile&) = delete;
    UBimFile& operator=(const UBimFile&) = delete;

    // Compares the SHA-1 of everything but the last 20 bytes with those bytes; the position is
    // put back afterwards.
    void CheckIntegrity(IO::UStream& stream);

    UBimHeader* m_pHeader;
    UBimPayload* m_pPayload;
};

}}} // namespace Oskal::Lib::BIM
