#include <Oskal/Lib/Cryptography/UCryptoStream.h>

#include <Oskal/Lib/Cryptography/UCryptoException.h>
#include <Oskal/Lib/Internal/ArgumentChecks.h>
#include <Oskal/Lib/UArgumentException.h>
#include <Oskal/Lib/UNotSupportedException.h>

#include <windows.h>

#include <cstring>

namespace Oskal { namespace Lib { namespace Cryptography {

namespace
{

// Work is done in large pieces: this much per read from, or write to, the underlying stream.
const unsigned long kBufferSize = 0x3D800;

void FreeBuffer(unsigned char* pbyBuffer, unsigned long ulSize)
{
    if (pbyBuffer == nullptr)
        return;
    // The buffers see plain text on one side of the transform.
    SecureZeroMemory(pbyBuffer, ulSize);
    delete[] pbyBuffer;
}

} // namespace

UCryptoStream::UCryptoStream(IO::UStream* pStream, ICryptoTransform* pTransform, UCryptoStreamMode eMode)
    : m_pStream(pStream), m_pTransform(pTransform), m_eMode(eMode), m_bFinalBlockTransformed(0),
      m_pbyInputBuffer(nullptr), m_ulInputBlockSize(0), m_ulInputBufferSize(0), m_ulInputBufferUsed(0),
      m_ulInputBufferPending(0), m_pbyOutputBuffer(nullptr), m_ulOutputBlockSize(0), m_ulOutputBufferSize(0),
      m_ulOutputPosition(0), m_ulOutputAvailable(0)
{
    Internal::ThrowIfNull(pStream, L"pStream");
    Internal::ThrowIfNull(pTransform, L"pTransform");
    if (eMode != eCryptoStreamMode_Read && eMode != eCryptoStreamMode_Write)
        return;
    m_ulInputBlockSize = pTransform->GetInputBlockSize();
    m_ulOutputBlockSize = pTransform->GetOutputBlockSize();
    if (m_ulInputBlockSize == 0)
        m_ulInputBlockSize = 1;
    if (m_ulOutputBlockSize == 0)
        m_ulOutputBlockSize = 1;
    if (eMode == eCryptoStreamMode_Read)
    {
        m_ulInputBufferSize = kBufferSize;
        // A block as large as the buffer gets room for two, or a full buffer that holds exactly the
        // kept last block could never make progress.
        if (m_ulInputBlockSize >= m_ulInputBufferSize)
            m_ulInputBufferSize = 2 * m_ulInputBlockSize;
        m_ulOutputBufferSize = m_ulInputBufferSize / m_ulInputBlockSize * m_ulOutputBlockSize;
    }
    else
    {
        m_ulInputBufferSize = m_ulInputBlockSize;
        m_ulOutputBufferSize = m_ulOutputBlockSize > kBufferSize ? m_ulOutputBlockSize : kBufferSize;
    }
    m_pbyInputBuffer = new unsigned char[m_ulInputBufferSize];
    try
    {
        m_pbyOutputBuffer = new unsigned char[m_ulOutputBufferSize];
    }
    catch (...)
    {
        delete[] m_pbyInputBuffer;
        throw;
    }
}

UCryptoStream::~UCryptoStream()
{
    FreeBuffer(m_pbyInputBuffer, m_ulInputBufferSize);
    FreeBuffer(m_pbyOutputBuffer, m_ulOutputBufferSize);
}

int UCryptoStream::CanRead() const
{
    return m_eMode == eCryptoStreamMode_Read && m_pbyInputBuffer != nullptr && m_pStream->CanRead() ? 1 : 0;
}

int UCryptoStream::CanWrite() const
{
    return m_eMode == eCryptoStreamMode_Write && m_pbyInputBuffer != nullptr && m_pStream->CanWrite() ? 1 : 0;
}

int UCryptoStream::CanSeek() const
{
    return 0;
}

void UCryptoStream::Close()
{
    if (m_eMode == eCryptoStreamMode_Write)
        FlushFinalBlock();
}

void UCryptoStream::Flush()
{
    m_pStream->Flush();
}

__int64 UCryptoStream::GetLength() const
{
    throw Exceptions::UNotSupportedException();
}

__int64 UCryptoStream::GetPosition() const
{
    throw Exceptions::UNotSupportedException();
}

__int64 UCryptoStream::Seek(__int64, IO::USeekOrigin)
{
    throw Exceptions::UNotSupportedException();
}

void UCryptoStream::SetLength(__int64)
{
    throw Exceptions::UNotSupportedException();
}

void UCryptoStream::SetPosition(__int64)
{
    throw Exceptions::UNotSupportedException();
}

int UCryptoStream::IsDataAvailable() const
{
    if (!CanRead())
        return 0;
    return m_pStream->IsDataAvailable();
}

void UCryptoStream::WriteOut(const unsigned char* pbyData, unsigned long ulCount)
{
    if (ulCount != 0)
        m_pStream->Write(pbyData, static_cast<long>(ulCount));
}

void UCryptoStream::Write(const void* pvBuffer, long lCount)
{
    if (pvBuffer == nullptr && lCount > 0)
        throw Exceptions::UArgumentException(L"pvBuffer",
                                             L"Argument 'pvBuffer' must not be NULL when lCount is greater than 0.");
    if (!CanWrite())
        throw Exceptions::UNotSupportedException(L"Stream is not writeable.");
    if (m_bFinalBlockTransformed)
        throw UCryptoException(L"The final block has already been transformed.");
    Internal::ThrowIfNegative(lCount, L"lCount");

    const unsigned char* data = static_cast<const unsigned char*>(pvBuffer);
    unsigned long remaining = static_cast<unsigned long>(lCount);
    while (remaining != 0)
    {
        if (m_ulInputBufferUsed == 0 && remaining > m_ulInputBlockSize)
        {
            // Whole blocks straight from the caller's buffer.
            unsigned long blocks = 1;
            if (m_pTransform->CanTransformMultipleBlocks())
            {
                blocks = remaining / m_ulInputBlockSize;
                const unsigned long fit = m_ulOutputBufferSize / m_ulOutputBlockSize;
                if (blocks > fit)
                    blocks = fit;
            }
            const unsigned long bytes = blocks * m_ulInputBlockSize;
            WriteOut(m_pbyOutputBuffer, m_pTransform->TransformBlock(data, bytes, m_pbyOutputBuffer));
            data += bytes;
            remaining -= bytes;
            continue;
        }
        unsigned long take = m_ulInputBlockSize - m_ulInputBufferUsed;
        if (take > remaining)
            take = remaining;
        std::memcpy(m_pbyInputBuffer + m_ulInputBufferUsed, data, take);
        m_ulInputBufferUsed += take;
        data += take;
        remaining -= take;
        if (m_ulInputBufferUsed == m_ulInputBlockSize)
        {
            WriteOut(m_pbyOutputBuffer,
                     m_pTransform->TransformBlock(m_pbyInputBuffer, m_ulInputBlockSize, m_pbyOutputBuffer));
            m_ulInputBufferUsed = 0;
        }
    }
}

void UCryptoStream::FlushFinalBlock()
{
    if (!CanWrite())
        throw Exceptions::UNotSupportedException(L"Stream is not writeable.");
    if (m_bFinalBlockTransformed)
        throw UCryptoException(L"The final block has already been transformed.");
    Collections::UVector<unsigned char> last = m_pTransform->TransformFinalBlock(m_pbyInputBuffer, m_ulInputBufferUsed);
    m_ulInputBufferUsed = 0;
    WriteOut(last.GetBuffer(), last.GetLength());
    if (last.GetLength() != 0)
        SecureZeroMemory(last.GetBuffer(), last.GetLength());
    m_pStream->Flush();
    m_bFinalBlockTransformed = 1;
}

unsigned long UCryptoStream::TransformNext(unsigned char* pbyTarget, bool* pbAtEnd)
{
    // Top the input buffer up behind what the last pass kept back.
    const unsigned long wanted = m_ulInputBufferSize - m_ulInputBufferUsed;
    unsigned long got = 0;
    while (got < wanted)
    {
        const long n = m_pStream->Read(m_pbyInputBuffer + m_ulInputBufferUsed + got, static_cast<long>(wanted - got));
        if (n <= 0)
            break;
        got += static_cast<unsigned long>(n);
    }
    m_ulInputBufferUsed += got;
    *pbAtEnd = got < wanted;

    const unsigned long block = m_ulInputBlockSize;
    unsigned long offset = 0;
    unsigned long produced = 0;
    m_ulInputBufferPending = m_ulInputBufferUsed;
    if (m_ulInputBufferPending > block)
    {
        if (!m_pTransform->CanTransformMultipleBlocks())
        {
            while (m_ulInputBufferPending > block)
            {
                produced += m_pTransform->TransformBlock(m_pbyInputBuffer + offset, block, pbyTarget + produced);
                offset += block;
                m_ulInputBufferPending -= block;
            }
        }
        else
        {
            unsigned long blocks = m_ulInputBufferPending / block;
            // A whole last block stays for the final transform, which strips the padding from it.
            if (m_ulInputBufferPending % block == 0 && (*pbAtEnd || !m_pStream->IsDataAvailable()))
                --blocks;
            const unsigned long bytes = blocks * block;
            produced = m_pTransform->TransformBlock(m_pbyInputBuffer, bytes, pbyTarget);
            offset = bytes;
            m_ulInputBufferPending -= bytes;
        }
    }
    if (offset != 0 && m_ulInputBufferPending != 0)
        std::memmove(m_pbyInputBuffer, m_pbyInputBuffer + offset, m_ulInputBufferPending);
    m_ulInputBufferUsed = m_ulInputBufferPending;
    return produced;
}

void UCryptoStream::Fill()
{
    bool atEnd = false;
    const unsigned long produced = TransformNext(m_pbyOutputBuffer, &atEnd);
    m_ulOutputPosition = 0;
    m_ulOutputAvailable = produced;
    if (atEnd)
        TransformFinal();
}

unsigned long UCryptoStream::FillDirect(unsigned char* pbyTarget)
{
    bool atEnd = false;
    const unsigned long produced = TransformNext(pbyTarget, &atEnd);
    m_ulOutputPosition = 0;
    m_ulOutputAvailable = 0;
    if (atEnd)
        TransformFinal();
    return produced;
}

void UCryptoStream::TransformFinal()
{
    Collections::UVector<unsigned char> last = m_pTransform->TransformFinalBlock(m_pbyInputBuffer, m_ulInputBufferUsed);
    m_ulInputBufferUsed = 0;
    m_ulInputBufferPending = 0;
    const unsigned long length = last.GetLength();
    if (m_ulOutputAvailable + length > m_ulOutputBufferSize)
    {
        const unsigned long size = m_ulOutputAvailable + length;
        unsigned char* grown = new unsigned char[size];
        std::memcpy(grown, m_pbyOutputBuffer, m_ulOutputAvailable);
        FreeBuffer(m_pbyOutputBuffer, m_ulOutputBufferSize);
        m_pbyOutputBuffer = grown;
        m_ulOutputBufferSize = size;
    }
    if (length != 0)
    {
        std::memcpy(m_pbyOutputBuffer + m_ulOutputAvailable, last.GetBuffer(), length);
        SecureZeroMemory(last.GetBuffer(), length);
    }
    m_ulOutputAvailable += length;
    m_bFinalBlockTransformed = 1;
}

long UCryptoStream::Read(void* pvBuffer, long lCount)
{
    Internal::ThrowIfNull(pvBuffer, L"pvBuffer");
    if (!CanRead())
        throw Exceptions::UNotSupportedException(L"Stream is not readable.");
    Internal::ThrowIfNegative(lCount, L"lCount");

    unsigned char* out = static_cast<unsigned char*>(pvBuffer);
    const unsigned long wanted = static_cast<unsigned long>(lCount);
    unsigned long copied = 0;
    while (copied < wanted)
    {
        if (m_ulOutputAvailable != 0)
        {
            unsigned long n = wanted - copied;
            if (n > m_ulOutputAvailable)
                n = m_ulOutputAvailable;
            std::memcpy(out + copied, m_pbyOutputBuffer + m_ulOutputPosition, n);
            m_ulOutputPosition += n;
            m_ulOutputAvailable -= n;
            copied += n;
            continue;
        }
        if (m_bFinalBlockTransformed)
            break;
        // A request with room for a whole pass is transformed straight into the caller's buffer,
        // saving a copy through the output buffer; the final block still goes there.
        if (wanted - copied >= m_ulOutputBufferSize)
            copied += FillDirect(out + copied);
        else
            Fill();
    }
    return static_cast<long>(copied);
}

}}} // namespace Oskal::Lib::Cryptography
