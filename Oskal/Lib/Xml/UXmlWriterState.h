#pragma once

namespace Oskal
{
namespace Lib
{
namespace Xml
{

// Where a UXmlWriter stands in the document.
enum UXmlWriterState
{
    eXmlWriterState_Attribute = 1, // an attribute is open; text goes into its value
    eXmlWriterState_Content = 2,   // inside element content, or after the root element's end
    eXmlWriterState_Element = 3,   // a start tag is open: name and attributes not yet written
    eXmlWriterState_Closed = 4,
    eXmlWriterState_Error = 5,  // a failure may have left broken output; only Close is left
    eXmlWriterState_Prolog = 6, // after the declaration or a processing instruction
    eXmlWriterState_Start = 7   // nothing written yet
};

} // namespace Xml
} // namespace Lib
} // namespace Oskal
