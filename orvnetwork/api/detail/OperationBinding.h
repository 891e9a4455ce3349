#pragma once

#include <orvnetwork/api/Operation.h>
#include <orvnetwork/support/QXDate.h>

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>

// Turns a function of the catalogue into a registry entry: argument kinds from its parameter types, and a call
// with JSON values that have been checked against those kinds.
namespace orv::binding {

template <typename T>
inline constexpr bool isOptional = false;
template <typename T>
inline constexpr bool isOptional<std::optional<T>> = true;

template <typename T>
struct Argument {
  using Type = std::remove_cvref_t<T>;

  static constexpr ArgumentKind kind() {
    if constexpr (std::same_as<Type, std::string> || std::same_as<Type, OptionalString>) {
      return ArgumentKind::Text;
    } else if constexpr (std::same_as<Type, Object> || std::same_as<Type, RequiredObject>) {
      return ArgumentKind::Any;
    } else if constexpr (std::same_as<Type, QXDate> || std::same_as<Type, std::optional<QXDate>>) {
      return ArgumentKind::Date;
    } else if constexpr (std::same_as<Type, json::object> ||
                         std::same_as<Type, std::optional<json::object>>) {
      return ArgumentKind::Dictionary;
    } else if constexpr (std::same_as<Type, json::array> || std::same_as<Type, std::optional<json::array>>) {
      return ArgumentKind::Array;
    } else if constexpr (std::same_as<Type, bool>) {
      return ArgumentKind::Flag;
    } else if constexpr (std::same_as<Type, double>) {
      return ArgumentKind::Real;
    } else if constexpr (std::same_as<Type, std::uint64_t>) {
      return ArgumentKind::UnsignedInteger;
    } else {
      static_assert(std::same_as<Type, std::int64_t>, "an argument type that the registry does not know");
      return ArgumentKind::Integer;
    }
  }

  static constexpr bool required() { return !isOptional<Type> && !std::same_as<Type, Object>; }

  /// The argument as the function takes it; `value` fits the kind.
  static Type from(const Object& value) {
    if constexpr (std::same_as<Type, Object>) {
      return value;
    } else if constexpr (std::same_as<Type, RequiredObject>) {
      return RequiredObject(*value);
    } else if constexpr (std::same_as<Type, QXDate>) {
      return QXDate(Seconds(value->to_number<double>()));
    } else if constexpr (isOptional<Type>) {
      if (!value) return std::nullopt;
      return Argument<typename Type::value_type>::from(value);
    } else if constexpr (std::same_as<Type, std::string>) {
      return std::string(std::string_view(value->get_string()));
    } else if constexpr (std::same_as<Type, json::object>) {
      return value->get_object();
    } else if constexpr (std::same_as<Type, json::array>) {
      return value->get_array();
    } else if constexpr (std::same_as<Type, bool>) {
      return value->get_bool();
    } else if constexpr (std::same_as<Type, std::uint64_t>) {
      return value->is_uint64() ? value->get_uint64() : static_cast<std::uint64_t>(value->get_int64());
    } else {
      return value->template to_number<Type>();
    }
  }
};

template <typename... Parameters>
struct Signature;

template <typename... Parameters>
struct Signature<void (*)(Parameters...)> {
  static_assert(sizeof...(Parameters) >= 2, "an operation ends in its two callbacks");
  using Types = std::tuple<Parameters...>;
  static constexpr std::size_t kArguments = sizeof...(Parameters) - 2;
  using Indices = std::make_index_sequence<kArguments>;
};

/// The argument at an index; what trails and is missing is absent.
inline const Object& argumentAt(const std::vector<Object>& arguments, std::size_t index) {
  static const auto* const absent = new Object;
  return index < arguments.size() ? arguments[index] : *absent;
}

template <auto function, std::size_t... I>
Operation bind(std::string name, std::string_view command, const std::vector<std::string_view>& names,
               std::index_sequence<I...>) {
  using Types = typename Signature<decltype(function)>::Types;
  Operation operation;
  operation.name = std::move(name);
  operation.command = command;
  operation.parameters = {OperationParameter{names.at(I), Argument<std::tuple_element_t<I, Types>>::kind(),
                                             Argument<std::tuple_element_t<I, Types>>::required()}...};
  operation.call = []([[maybe_unused]] const std::vector<Object>& arguments, CompleteBlock completeBlock,
                      TimeoutBlock timeoutBlock) {
    function(Argument<std::tuple_element_t<I, Types>>::from(argumentAt(arguments, I))...,
             std::move(completeBlock), std::move(timeoutBlock));
  };
  return operation;
}

/// The keyword form of a C++ name: "logoutWithCompleteBlock_timeoutBlock" is
/// "logoutWithCompleteBlock:timeoutBlock:". A leading underscore belongs to the name.
inline std::string keywordForm(std::string_view cppName) {
  std::string keywords(cppName);
  for (std::size_t i = 1; i < keywords.size(); ++i) {
    if (keywords[i] == '_') keywords[i] = ':';
  }
  return keywords + ":";
}

template <auto function>
Operation operation(std::string_view cppName, std::string_view command,
                    const std::vector<std::string_view>& names) {
  return bind<function>(keywordForm(cppName), command, names,
                        typename Signature<decltype(function)>::Indices());
}

}  // namespace orv::binding
