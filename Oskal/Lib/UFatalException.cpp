#include <Oskal/Lib/UFatalException.h>

namespace Oskal { namespace Lib { namespace Exceptions {

UFatalException::UFatalException() {}

UFatalException::UFatalException(const wchar_t* pszMessage) : UException(pszMessage) {}

UFatalException::UFatalException(const UFatalException& other) : UException(other) {}

UFatalException::~UFatalException() {}

}}} // namespace Oskal::Lib::Exceptions
