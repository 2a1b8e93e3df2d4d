#include "suite/porvane/forwarding/ArchiveTls.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmtls/tlslayer.h>

#include <stdexcept>

namespace tavrel {
namespace {

void Require(const OFCondition& outcome, const std::string& what, const std::string& file) {
    if (outcome.bad())
        throw std::runtime_error(what + " \"" + file + "\" cannot be used: " + outcome.text());
}

} // namespace

ArchiveTls::ArchiveTls(const Files& files) {
    DcmTLSTransportLayer::initializeOpenSSL();
    layer_ = std::make_unique<DcmTLSTransportLayer>(NET_ACCEPTORREQUESTOR, nullptr, OFTrue);
    layer_->setPrivateKeyPasswd(""); // nobody is there to be asked for one
    Require(layer_->setPrivateKeyFile(files.key.c_str(), DCF_Filetype_PEM), "The key", files.key);
    Require(layer_->setCertificateFile(files.certificate.c_str(), DCF_Filetype_PEM), "The certificate",
            files.certificate);
    if (!layer_->checkPrivateKeyMatchesCertificate())
        throw std::runtime_error("The key \"" + files.key + "\" is not that of the certificate \"" + files.certificate +
                                 "\"");
    Require(layer_->addTrustedCertificateFile(files.trust.c_str(), DCF_Filetype_PEM), "The trusted certificate",
            files.trust);
    Require(layer_->setTLSProfile(TSP_Profile_BCP195_ND), "The profile of", "TLS");
    Require(layer_->activateCipherSuites(), "The profile of", "TLS");
    layer_->setCertificateVerification(DCV_requireCertificate);
}

ArchiveTls::~ArchiveTls() = default;

} // namespace tavrel
