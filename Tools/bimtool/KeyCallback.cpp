#include "KeyCallback.h"

#include <Oskal/Lib/Cryptography/USymmetricAlgorithm.h>

namespace BimTool {

using namespace Oskal::Lib;

KeyCallback::KeyCallback(const std::optional<std::vector<unsigned char>>& key,
                         const std::optional<std::vector<unsigned char>>& iv)
    : m_key(key), m_iv(iv)
{
}

int KeyCallback::ProcessEncryptionAlgorithm(BIM::UBimPayloadContainerEncryption,
                                            Cryptography::UEncryptionAlgorithm* pAlgorithm)
{
    auto* symmetric = dynamic_cast<Cryptography::USymmetricAlgorithm*>(pAlgorithm);
    if (symmetric == nullptr || !m_key || !m_iv)
        return 0;
    symmetric->SetKey(m_key->data(), static_cast<unsigned long>(m_key->size()));
    symmetric->SetInitializationVector(m_iv->data(), static_cast<unsigned long>(m_iv->size()));
    return 1;
}

} // namespace BimTool
