#include <Oskal/Lib/Logging/ULogWriter.h>

#include <Oskal/Lib/Logging/ULogSource.h>

#include <cstdarg>

namespace Oskal
{
namespace Lib
{
namespace Logging
{

ULogWriter::ULogWriter(unsigned long ulClassId, const UString* pClassName)
    : m_ulClassId(ulClassId), m_pClassName(pClassName)
{
}

void ULogWriter::Write(const ULogLevel* pLevel, const wchar_t* pszFormat, ...)
{
    if (pLevel == nullptr || !m_mask.IsBitSet(pLevel->GetLogLevelId()))
        return;
    ULogSource* source = ULogSource::GetPublished();
    if (source == nullptr)
        return;
    va_list args;
    va_start(args, pszFormat);
    source->WriteLogEntry(m_ulClassId, pLevel, pszFormat, args);
    va_end(args);
}

const UString& ULogWriter::GetClassNameW() const
{
    return *m_pClassName;
}

} // namespace Logging
} // namespace Lib
} // namespace Oskal
