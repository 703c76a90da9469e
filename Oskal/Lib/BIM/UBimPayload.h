#pragma once

#include <Oskal/Lib/BIM/UBimPayloadContainerBase.h>
#include <Oskal/Lib/BIM/UBimReadFileCallback.h>
#include <Oskal/Lib/Collections/UVector.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UStream.h>

namespace Oskal { namespace Lib { namespace BIM {

class UBimFile;

// The containers of a BIM file, in file order, owned.
class OSKAL_LIB_API UBimPayload
{
public:
    UBimPayload();
    ~UBimPayload();

    // Sum of GetTotalContainerSize() over the containers.
    unsigned int GetLength() const;
    // 0-based; null past the end. No reference is added.
    UBimPayloadContainerBase* GetContainer(unsigned long ulIndex);
    const UBimPayloadContainerBase* GetContainer(unsigned long ulIndex) const;
    unsigned long GetContainerCount() const;
    // Appends the container and takes a reference of its own (AddRef): the caller still releases
    // its own reference.
    void AddContainer(UBimPayloadContainerBase& container);
    // Releases every container.
    void Clear();

protected:
    friend class UBimFile;

    // Reads containers until uiLength bytes of the file are used up.
    void Read(IO::UStream& stream, unsigned int uiLength, UBimReadFileCallback& callback);
    void Write(IO::UStream& stream);

private:
    UBimPayload(const UBimPayload&) = delete;
    UBimPayload& operator=(const UBimPayload&) = delete;

    // Reads one container and returns it (reference count 1) with the bytes it took in the file.
    UBimPayloadContainerBase* ReadContainer(IO::UStream& stream, UBimReadFileCallback& callback,
                                            unsigned int* puiFileSize);
    // A new, empty container of the same type that takes over the encryption type and the
    // algorithm of one whose parsed contents are dropped.
    static UBimPayloadContainerBase* TakeEmptyOf(UBimPayloadContainerBase& parsed);
    // Appends to the list, growing it by its own length so that many containers stay linear.
    void Append(UBimPayloadContainerBase* pContainer);

    Collections::UVector<UBimPayloadContainerBase*> m_containers;
};

}}} // namespace Oskal::Lib::BIM
