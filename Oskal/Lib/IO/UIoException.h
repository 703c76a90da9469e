#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal { namespace Lib { namespace IO {

class OSKAL_LIB_API UIoException : public Exceptions::UException
{
public:
    UIoException();
    explicit UIoException(const wchar_t* pszMessage);
    UIoException(const UIoException& other);
    ~UIoException() override;
};

}}} // namespace Oskal::Lib::IO
