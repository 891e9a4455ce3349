#pragma once

#include <orvnetwork_qt/Convert.h>
#include <orvnetwork_qt/CourseListModel.h>
#include <orvnetwork_qt/Future.h>
#include <orvnetwork_qt/LinkObject.h>
#include <orvnetwork_qt/MainLoop.h>
#include <orvnetwork_qt/SessionObject.h>
#include <orvnetwork_qt/UserObject.h>
