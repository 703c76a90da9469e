#include <Oskal/Lib/BIM/UBimException.h>

namespace Oskal { namespace Lib { namespace BIM {

UBimException::UBimException() {}

UBimException::UBimException(const wchar_t* pszMessage) : Exceptions::UException(pszMessage) {}

UBimException::UBimException(const UBimException& other) : Exceptions::UException(other) {}

UBimException::~UBimException() {}

UBimException& UBimException::operator=(const UBimException& other)
{
    if (this != &other)
        m_message = other.m_message;
    return *this;
}

}}} // namespace Oskal::Lib::BIM
