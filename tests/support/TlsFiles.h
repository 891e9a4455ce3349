#pragma once

#include <tests/support/TlsIdentity.h>

#include <string>

namespace orv::test {

/// Writes the certificate and the key of an identity into one PEM file, for servers that read theirs from a file.
/// Throws `std::runtime_error` when it cannot be written.
void writePemFile(const TlsIdentity& identity, const std::string& path);

}  // namespace orv::test
