#pragma once

#include <Oskal/Lib/BIM/UBimPayloadContainerEncryption.h>
#include <Oskal/Lib/Cryptography/UEncryptionAlgorithm.h>
#include <Oskal/Lib/Export.h>

namespace Oskal { namespace Lib { namespace BIM {

class UBimHeader;

// What the application tells UBimFile::Load while a file is read. The library never stores a key:
// the second slot is where the application hands one over.
class OSKAL_LIB_API UBimReadFileCallback
{
public:
    // Called once, after the header is read and before any container; 0 leaves the payload
    // unread and empty, and Load returns normally. The base returns 1.
    virtual int ProcessBimHeader(const UBimHeader* pHeader);
    // Called for each container whose encryption type brings an algorithm (Rijndael), before
    // anything of it is deciphered: set the key and initialization vector on the algorithm here.
    // The result is ignored.
    virtual int ProcessEncryptionAlgorithm(UBimPayloadContainerEncryption eEncryption,
                                           Cryptography::UEncryptionAlgorithm* pAlgorithm) = 0;

protected:
    UBimReadFileCallback();
    UBimReadFileCallback(const UBimReadFileCallback& other);
    UBimReadFileCallback& operator=(const UBimReadFileCallback& other);
    // Not virtual, so the two slots above are the only ones: callbacks are never deleted through
    // this class.
    ~UBimReadFileCallback();
};

}}} // namespace Oskal::Lib::BIM
