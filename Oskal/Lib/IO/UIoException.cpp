#include <Oskal/Lib/IO/UIoException.h>

namespace Oskal { namespace Lib { namespace IO {

UIoException::UIoException() {}

UIoException::UIoException(const wchar_t* pszMessage) : Exceptions::UException(pszMessage) {}

UIoException::UIoException(const UIoException& other) : Exceptions::UException(other) {}

UIoException::~UIoException() {}

}}} // namespace Oskal::Lib::IO
