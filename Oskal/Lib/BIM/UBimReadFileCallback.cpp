#include <Oskal/Lib/BIM/UBimReadFileCallback.h>

namespace Oskal { namespace Lib { namespace BIM {

UBimReadFileCallback::UBimReadFileCallback() {}

UBimReadFileCallback::UBimReadFileCallback(const UBimReadFileCallback&) {}

UBimReadFileCallback& UBimReadFileCallback::operator=(const UBimReadFileCallback&)
{
    return *this;
}

UBimReadFileCallback::~UBimReadFileCallback() {}

int UBimReadFileCallback::ProcessBimHeader(const UBimHeader*)
{
    return 1;
}

}}} // namespace Oskal::Lib::BIM
