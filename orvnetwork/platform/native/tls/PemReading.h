#pragma once

#include <orvnetwork/data/Result.h>
#include <orvnetwork/platform/native/tls/OpenSslOwned.h>

#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// What is wrong with a piece of the settings, in words.
Error badTlsSettings(std::string description);

/// The text of a plain file of at most 4 MiB. The error names the file and, as `what`, what is in it. Waits for the disk.
Result<std::string> readPemFile(const std::string& path, std::string_view what);

/// All certificates in a text in PEM, one at least; other things between them are passed over. `where` tells in the error
/// where the text comes from. Any thread.
Result<std::vector<OpenSslOwned<x509_st>>> readCertificates(const std::string& text,
                                                            const std::string& where);

/// The first private key in a text in PEM, which must not be encrypted: nobody is asked for a password. Any thread.
Result<OpenSslOwned<evp_pkey_st>> readPrivateKey(const std::string& text, const std::string& where);

/// The last error of the TLS library in its words; takes all errors of this thread away.
std::string lastTlsWords();

}  // namespace orv
