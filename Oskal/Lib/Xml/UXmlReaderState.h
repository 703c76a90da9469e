#pragma once

namespace Oskal
{
namespace Lib
{
namespace Xml
{

enum UXmlReaderState
{
    eXmlReaderState_Initial = 0,
    eXmlReaderState_Closed = 1,
    eXmlReaderState_EndOfFile = 2,
    eXmlReaderState_Error = 3,
    eXmlReaderState_Interactive = 4
};

} // namespace Xml
} // namespace Lib
} // namespace Oskal
