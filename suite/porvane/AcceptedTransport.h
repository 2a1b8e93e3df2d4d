#pragma once

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmnet/dcmlayer.h>

#include <string>

namespace tavrel {

/// Brings one accepted socket into the DICOM toolkit. The toolkit takes such a socket from a global
/// variable, which threads cannot share: that variable holds one stand-in for ever, and this layer
/// puts its own socket in the stand-in's place.
class AcceptedTransport : public DcmTransportLayer {
public:
    /// Once, before the first association.
    static void Prepare();

    /// Takes over `socket`.
    explicit AcceptedTransport(int socket) : socket_(socket) {}
    ~AcceptedTransport() override;

    /// The sender's address in numbers; empty when it has gone already. Before the connection is created.
    std::string PeerAddress() const;

    DcmTransportConnection* createConnection(DcmNativeSocketType standIn, OFBool useSecureLayer) override;

private:
    int socket_;
};

} // namespace tavrel
