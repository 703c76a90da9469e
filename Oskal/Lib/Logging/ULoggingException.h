#pragma once

#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/UException.h>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

class OSKAL_LIB_API ULoggingException : public Exceptions::UException
{
public:
    ULoggingException();
    explicit ULoggingException(const wchar_t* pszMessage);
    ULoggingException(const ULoggingException& other);
    ~ULoggingException() override;
};

} // namespace Logging
} // namespace Lib
} // namespace Oskal
