#pragma once

#include <orvnetwork_glib/Course.h>
#include <orvnetwork_glib/CourseListModel.h>
#include <orvnetwork_glib/Link.h>
#include <orvnetwork_glib/MainLoop.h>
#include <orvnetwork_glib/Session.h>
#include <orvnetwork_glib/SessionError.h>
