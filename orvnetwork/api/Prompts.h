#pragma once

#include <string_view>

/// @file
/// Texts for the host to show to its user; the library shows none of them itself.

namespace orv {

/// No reply came in time.
inline constexpr std::string_view TimeOutPrompt = "请求超时，请稍后重试";
/// A reply could not be understood.
inline constexpr std::string_view DataParseErrorPrompt = "数据解析出错，请联系Orv客服";
/// Something else went wrong. The name is spelled so on purpose.
inline constexpr std::string_view UnknowErrorPrompt = "未知错误，请联系Orv客服";
/// What was typed is no mobile number.
inline constexpr std::string_view MobileErrorPrompt = "手机号码不符合规范，请重新输入";

}  // namespace orv
