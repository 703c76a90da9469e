#pragma once

namespace Oskal
{
namespace Lib
{
namespace Xml
{

// The xml:space scope of an element, as the writer and the reader track it.
enum UXmlSpace
{
    eXmlSpace_None = 0,
    eXmlSpace_Default = 1,
    eXmlSpace_Preserve = 2
};

} // namespace Xml
} // namespace Lib
} // namespace Oskal
