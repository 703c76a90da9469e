#pragma once

namespace Oskal
{
namespace Lib
{
namespace Xml
{

// Node kinds. UXmlReader produces None, Attribute, Comment, Element, EndElement,
// ProcessingInstruction, Text and XmlDeclaration; the content readers accept some of the others.
enum UXmlNodeType
{
    eXmlNodeType_None = 0,
    eXmlNodeType_Attribute = 1,
    eXmlNodeType_CDATA = 2,
    eXmlNodeType_Comment = 3,
    eXmlNodeType_Document = 4,
    eXmlNodeType_DocumentFragment = 5,
    eXmlNodeType_DocumentType = 6,
    eXmlNodeType_Element = 7,
    eXmlNodeType_EndElement = 8,
    eXmlNodeType_EndEntity = 9,
    eXmlNodeType_Entity = 10,
    eXmlNodeType_EntityReference = 11,
    eXmlNodeType_Notation = 12,
    eXmlNodeType_ProcessingInstruction = 13,
    eXmlNodeType_SignificantWhitespace = 14,
    eXmlNodeType_Text = 15,
    eXmlNodeType_Whitespace = 16,
    eXmlNodeType_XmlDeclaration = 17
};

} // namespace Xml
} // namespace Lib
} // namespace Oskal
