#include <Oskal/Lib/Logging/ULoggingException.h>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

ULoggingException::ULoggingException() {}

ULoggingException::ULoggingException(const wchar_t* pszMessage) : Exceptions::UException(pszMessage) {}

ULoggingException::ULoggingException(const ULoggingException& other) : Exceptions::UException(other) {}

ULoggingException::~ULoggingException() {}

} // namespace Logging
} // namespace Lib
} // namespace Oskal
