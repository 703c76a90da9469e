#pragma once

#include <Oskal/Lib/BIM/UBimReadFileCallback.h>

#include <optional>
#include <vector>

namespace BimTool {

// Hands the key and initialization vector from the command line to every encrypted container.
// Without them a container's algorithm keeps its random key, and the container stays raw.
class KeyCallback : public Oskal::Lib::BIM::UBimReadFileCallback
{
public:
    KeyCallback(const std::optional<std::vector<unsigned char>>& key, const std::optional<std::vector<unsigned char>>& iv);

    int ProcessEncryptionAlgorithm(Oskal::Lib::BIM::UBimPayloadContainerEncryption eEncryption,
                                   Oskal::Lib::Cryptography::UEncryptionAlgorithm* pAlgorithm) override;

private:
    std::optional<std::vector<unsigned char>> m_key;
    std::optional<std::vector<unsigned char>> m_iv;
};

} // namespace BimTool
