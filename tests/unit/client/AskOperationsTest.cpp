#include <orvnetwork/api/OperationRegistry.h>
#include <orvnetwork/api/detail/OperationBinding.h>
#include <orvnetwork/client/Ask.h>

#include "Operations.h"
#include <tests/support/LinkFixture.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <cstddef>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace orv::ask_operations_test {
namespace {

using Questions = std::vector<Object>;

template <auto operation, std::size_t... I>
Pending<Reply> askWith(const Questions& arguments, std::index_sequence<I...>) {
  using Types = typename binding::Signature<decltype(operation)>::Types;
  return ask<operation>(binding::Argument<std::tuple_element_t<I, Types>>::from(arguments.at(I))...);
}

template <auto operation>
Pending<Reply> askOperation(const Questions& arguments) {
  return askWith<operation>(arguments, typename binding::Signature<decltype(operation)>::Indices());
}

struct Row {
  std::string name;
  Pending<Reply> (*ask)(const Questions& arguments);
};

const std::vector<Row>& rows() {
#define ORV_ROW(name) Row{binding::keywordForm(#name), &askOperation<&QXAPIHelper::name>},
  static const auto* const all = new std::vector<Row>{ORV_OPERATIONS(ORV_ROW)};
#undef ORV_ROW
  return *all;
}

Object sample(ArgumentKind kind) {
  switch (kind) {
    case ArgumentKind::Text:
      return "text 代数";
    case ArgumentKind::Any:
      return 7;
    case ArgumentKind::Dictionary:
      return json::object{{"key", "value"}};
    case ArgumentKind::Array:
      return json::array{1, "two"};
    case ArgumentKind::Integer:
    case ArgumentKind::UnsignedInteger:
      return 3;
    case ArgumentKind::Real:
      return 9.9;
    case ArgumentKind::Flag:
      return true;
    case ArgumentKind::Date:
      return 1700000000;
  }
  return {};
}

Questions samplesFor(const Operation& operation) {
  Questions samples;
  for (const auto& parameter : operation.parameters) samples.push_back(sample(parameter.kind));
  return samples;
}

class AskOperations : public LinkFixture {
 protected:
  /// The frame that was sent last, without its identifier.
  std::string lastFrame() {
    settle();
    const auto all = server.requests();
    if (all.empty()) return "";
    json::object frame = all.back();
    frame.stable_erase(frame.find("s"));
    return json::serialize(frame);
  }
};

TEST_F(AskOperations, AreAllOfTheCatalogue) {
  std::set<std::string> asked, listed;
  for (const auto& row : rows()) asked.insert(row.name);
  for (const auto& operation : OperationRegistry::standard().operations()) listed.insert(operation.name);
  EXPECT_EQ(asked, listed);
  EXPECT_EQ(rows().size(), 110u);
}

TEST_F(AskOperations, SendTheFrameOfThePlainCallAndTellItsReply) {
  bringUp();
  answerAll({{"ret", 0}, {"data", 1}});
  for (const auto& row : rows()) {
    const Operation* const operation = OperationRegistry::standard().find(row.name);
    ASSERT_TRUE(operation) << row.name;
    const Questions samples = samplesFor(*operation);
    server.clearRecords();
    ASSERT_EQ(operation->invoke(samples, nullptr, nullptr), "");
    const std::string plain = lastFrame();
    server.clearRecords();
    std::string told;
    const auto kept = row.ask(samples).then([&](const Reply& reply) { told = reply.sentence(); });
    EXPECT_EQ(lastFrame(), plain) << row.name;
    EXPECT_EQ(server.requests().size(), 1u) << row.name;
    EXPECT_EQ(told, std::string(json::parse(plain).at("c").as_string()) + " succeeded") << row.name;
  }
}

TEST_F(AskOperations, TellThatThereIsNoLink) {
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  for (const auto& row : rows()) {
    std::string told;
    const auto kept =
        row.ask(samplesFor(*OperationRegistry::standard().find(row.name))).then([&](const Reply& reply) {
          told = nameOf(reply.outcome());
        });
    EXPECT_EQ(told, "") << row.name;
    settle();
    EXPECT_EQ(told, "NoLink") << row.name;
  }
}

}  // namespace
}  // namespace orv::ask_operations_test
