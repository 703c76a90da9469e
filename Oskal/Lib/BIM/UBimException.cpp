#include <Oskal/Lib/BIM/UBimException.h>

namespace Oskal { namespace Lib { namespace BIM {

OSKAL_IMPLEMENT_EXCEPTION(UBimException, Exceptions::UException)

UBimException& UBimException::operator=(const UBimException& other)
{
    if (this != &other)
        m_message = other.m_message;
    return *this;
}

}}} // namespace Oskal::Lib::BIM
