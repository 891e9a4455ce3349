#pragma once

#include <orvnetwork/client/Subscribers.h>

namespace orv::detail {

/// That the link, which had fallen silent, answers again.
struct LinkRevival {};

/// Those who want to know of it. No socket is opened then, so the link itself posts nothing; but what was asked for in the
/// silence may never be answered. Main thread.
Subscribers<LinkRevival>& linkRevivals();

}  // namespace orv::detail
