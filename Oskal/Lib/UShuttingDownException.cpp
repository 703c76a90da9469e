#include <Oskal/Lib/UShuttingDownException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UShuttingDownException::UShuttingDownException() {}

UShuttingDownException::UShuttingDownException(const wchar_t* pszMessage) : UException(pszMessage) {}

UShuttingDownException::UShuttingDownException(const UShuttingDownException& other) : UException(other) {}

UShuttingDownException::~UShuttingDownException() {}

}}} // namespace Oskal::Lib::Exceptions
