#pragma once

/// The public surface of the library in one include.

#include <orvnetwork/api/OperationRegistry.h>
#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/Types.h>
#include <orvnetwork/support/QXCommonTools.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/support/QXPathManager.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>
