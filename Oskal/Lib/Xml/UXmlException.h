#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace Xml {

class OSKAL_LIB_API UXmlException : public Exceptions::UException
{
public:
    UXmlException();
    explicit UXmlException(const wchar_t* pszMessage);
    UXmlException(const UXmlException& other);
    ~UXmlException() override;
};

}}} // namespace Oskal::Lib::Xml
