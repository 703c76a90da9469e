#include <Oskal/Lib/Xml/UXmlException.h>

namespace Oskal { namespace Lib { namespace Xml {

UXmlException::UXmlException() {}

UXmlException::UXmlException(const wchar_t* pszMessage) : Exceptions::UException(pszMessage) {}

UXmlException::UXmlException(const UXmlException& other) : Exceptions::UException(other) {}

UXmlException::~UXmlException() {}

}}} // namespace Oskal::Lib::Xml
