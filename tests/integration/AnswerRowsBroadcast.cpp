#include <tests/integration/AnswerTable.h>

namespace orv::test {

const AnswerRows& broadcastRows() {
  static const AnswerRows rows = {
      {"getLiveStatusWithCompleteBlock:timeoutBlock:", "[]", 0, R"({"liveStatus":0,"roomID":0})"},
      {"getLiveWithCompleteBlock:timeoutBlock:", "[]", 0, R"({"$size":4,"$none":{"roomID":"$live"}})"},
      {"createRoomWithCompleteBlock:timeoutBlock:", "[]", 0,
       R"({"roomID":"$id","title":"方方老师的直播间","liveType":1,"status":1,"classroomID":"$classroomID",)"
       R"("uID":"$newcomerID"})",
       "hall=roomID"},
      {"setRoomTitle:roomID:completeBlock:timeoutBlock:", R"(["琴房闲谈","$hall"])", 0,
       R"({"roomID":"$hall","title":"琴房闲谈"})"},
      {"setRoomTitle:roomID:completeBlock:timeoutBlock:", R"(["夺过来",70001])", 1203},
      {"startLiveWithRoomID:title:completeBlock:timeoutBlock:", R"(["$recorded","录播"])", 1204},
      {"stopLiveWithRoomID:completeBlock:timeoutBlock:", R"(["$live"])", 1204},
      {"startLiveWithRoomID:title:completeBlock:timeoutBlock:", R"(["$live","直播：开始了"])", 0,
       R"({"roomID":"$live","title":"直播：开始了","status":2,"liveStatus":1,"liveStartTime":"$now"})"},
      {"getLiveStatusWithCompleteBlock:timeoutBlock:", "[]", 0,
       R"({"roomID":"$live","liveStatus":1,"title":"直播：开始了"})"},
      {"getLiveWithCompleteBlock:timeoutBlock:", "[]", 0,
       R"({"$size":5,"$has":[{"roomID":"$live"}],"$each":{"liveStatus":1,"status":2}})"},
      {"getLiveStreamInfo:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"({"roomID":"$live","status":2,"liveStatus":1,"flvUrl":"$text","rtmpUrl":"$text","hlsUrl":"$text",)"
       R"("publishUrl":"$text"})"},
      {"getLiveStreamInfo:completeBlock:timeoutBlock:", R"(["$recorded"])", 1204},
      {"coursePostDelete:completeBlock:timeoutBlock:", R"(["$live"])", 1204},

      // Steering.
      {"coursePlayLive:command:completeBlock:timeoutBlock:", R"(["$live",1])", 0,
       R"({"roomID":"$live","command":1})"},
      {"coursePlayLive:command:completeBlock:timeoutBlock:", R"(["$recorded",1])", 1204},
      {"coursePlayProgress:value:type:completeBlock:timeoutBlock:", R"(["$live",120,2])", 0,
       R"({"value":120,"type":2})"},
      {"coursePlayPpt:page:completeBlock:timeoutBlock:", R"(["$live",3])", 0,
       R"({"roomID":"$live","page":3})"},
      {"coursePlayPpt:page:completeBlock:timeoutBlock:", R"(["$live",-1])", 1104},
      {"multiPlayerTeacherControl:completeBlock:timeoutBlock:",
       R"([{"roomID":"$live","action":"mute","all":true}])", 0, R"({"roomID":"$live"})"},
      {"multiPlayerTeacherControl:completeBlock:timeoutBlock:", "[null]", 1104},
      {"getCourseInfo:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"({"roomID":"$live","liveCommand":1,"playProgress":{"value":120,"type":2},"pptPage":3,"pptStatus":1,)"
       R"("onlineCnt":1,"enrolled":false,"followed":false})"},

      // Billing: 1 is live, 2 vod, others nothing that can be billed.
      {"courseBillingStartWithRoomID:type:completeBlock:timeoutBlock:", R"(["$live",1])", 0,
       R"({"id":1,"roomID":"$live","type":"live","startTime":"$now"})"},
      {"courseBillingStartWithRoomID:type:completeBlock:timeoutBlock:", R"(["$live",1])", 1204},
      {"courseBillingStartWithRoomID:type:completeBlock:timeoutBlock:", R"(["$live",3])", 1104},
      {"courseBillingStopWithRoomID:type:completeBlock:timeoutBlock:", R"(["$live",2])", 1204},
      {"courseBillingStopWithRoomID:type:completeBlock:timeoutBlock:", R"(["$live",1])", 0,
       R"({"id":1,"roomID":"$live","type":"live","startTime":"$now","stopTime":"$now"})"},

      // Vendors.
      {"getVendorItemsWithCompleteBlock:timeoutBlock:", "[]", 0,
       R"([{"vendorID":1,"name":"蓝鲸直播","bound":false},{"vendorID":2,"bound":false},{"bound":false}])",
       "vendor=1.vendorID"},
      {"publishLiveWithRoomID:vendorID:status:completeBlock:timeoutBlock:", R"(["$live",99,"1"])", 1205},
      {"publishLiveWithRoomID:vendorID:status:completeBlock:timeoutBlock:", R"(["$live","$vendor",1])", 0,
       R"({"roomID":"$live","vendorID":"$vendor","status":"1"})"},
      {"getVendorItemsWithCompleteBlock:timeoutBlock:", "[]", 0,
       R"([{"bound":false},{"vendorID":"$vendor","bound":true,"roomID":"$live","status":"1"},{"bound":false}])"},
      {"vendorUnbind:completeBlock:timeoutBlock:", R"(["$vendor"])", 0, R"({"vendorID":"$vendor"})"},
      {"vendorUnbind:completeBlock:timeoutBlock:", R"(["$vendor"])", 1205},
      {"getVendorItemsWithCompleteBlock:timeoutBlock:", "[]", 0, R"({"$size":3,"$each":{"bound":false}})"},
  };
  return rows;
}

}  // namespace orv::test
