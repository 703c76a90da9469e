#pragma once

// <cstddef> brings the compiler's __int64, which UStream.h uses.
#include <cstddef>

#include <Oskal/Lib/Cryptography/ICryptoTransform.h>
#include <Oskal/Lib/Cryptography/UCryptoStreamMode.h>
#include <Oskal/Lib/Export.h>
#include <Oskal/Lib/IO/UStream.h>

namespace Oskal { namespace Lib { namespace Cryptography {

// A stream that passes every byte through a transform on its way to (write mode) or from (read
// mode) another stream. Made for one pass. Neither the underlying stream nor the transform is
// owned: the caller releases them after the crypto stream.
class OSKAL_LIB_API UCryptoStream : public IO::UStream
{
public:
    UCryptoStream(IO::UStream* pStream, ICryptoTransform* pTransform, UCryptoStreamMode eMode);
    ~UCryptoStream() override;

    int CanRead() const override;
    int CanWrite() const override;
    int CanSeek() const override;
    // Writes the final block in write mode; does nothing in read mode.
    void Close() override;
    void Flush() override;
    // Length, position, seeking and views throw UNotSupportedException.
    __int64 GetLength() const override;
    __int64 GetPosition() const override;
    int IsDataAvailable() const override;
    long Read(void* pvBuffer, long lCount) override;
    __int64 Seek(__int64 llOffset, IO::USeekOrigin eOrigin) override;
    void SetLength(__int64 llLength) override;
    void SetPosition(__int64 llPosition) override;
    // A partial input block is held back until more bytes come or the final block is flushed.
    void Write(const void* pvBuffer, long lCount) override;

    // Transforms the held-back bytes as the final block, writes the result and flushes the
    // underlying stream. Once only.
    virtual void FlushFinalBlock();

private:
    UCryptoStream(const UCryptoStream&) = delete;
    UCryptoStream& operator=(const UCryptoStream&) = delete;

    // Read mode: tops the input buffer up from the underlying stream and transforms the whole
    // blocks it can give into pbyTarget (room for m_ulOutputBufferSize bytes); returns the count
    // written there and tells whether the underlying stream has ended.
    unsigned long TransformNext(unsigned char* pbyTarget, bool* pbAtEnd);
    // Read mode: refills the output buffer from the underlying stream.
    void Fill();
    // Read mode: one pass straight into the caller's buffer; returns the count written there. The
    // output of the final block, if this pass ended the stream, waits in the output buffer.
    unsigned long FillDirect(unsigned char* pbyTarget);
    // Read mode: transforms the held-back bytes as the final block, behind the output buffer's
    // bytes.
    void TransformFinal();
    void WriteOut(const unsigned char* pbyData, unsigned long ulCount);

    IO::UStream* m_pStream;
    ICryptoTransform* m_pTransform;
    UCryptoStreamMode m_eMode;
    int m_bFinalBlockTransformed;
    unsigned char* m_pbyInputBuffer;
    unsigned long m_ulInputBlockSize;
    unsigned long m_ulInputBufferSize;
    unsigned long m_ulInputBufferUsed;
    unsigned long m_ulInputBufferPending;
    unsigned char* m_pbyOutputBuffer;
    unsigned long m_ulOutputBlockSize;
    unsigned long m_ulOutputBufferSize;
    unsigned long m_ulOutputPosition;
    unsigned long m_ulOutputAvailable;
};

}}} // namespace Oskal::Lib::Cryptography
