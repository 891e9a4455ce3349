#pragma once

#include <orvnetwork/platform/ConnectReport.h>

#include <string>
#include <string_view>

struct asn1_string_st;
struct x509_st;

namespace orv {

/// What is told of a certificate. Its texts are another's words: bounded, UTF-8, and without control characters. Any
/// thread.
CertificateSummary summaryOf(const x509_st* certificate);

/// A time of a certificate. What lies outside of what `WallTime` can hold is its first or last second. Any thread.
WallTime timeOf(const asn1_string_st* time);

/// Words of a peer's as a person may see them: at most `most` bytes, U+FFFD in the place of what is no UTF-8, and "?" in
/// that of control characters and of those that turn the direction of writing. Any thread.
std::string shownPeerText(std::string_view text, std::size_t most);

}  // namespace orv
