#include "devserver/School.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "devserver/SchoolStore.h"

namespace orv::devserver {

namespace {

std::string hex(const unsigned char* bytes, std::size_t size) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

std::string newToken() {
  std::array<unsigned char, 16> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
    throw std::runtime_error("no random bytes for a token");
  }
  return hex(bytes.data(), bytes.size());
}

Account seededAccount(const char* phone, const char* nick, bool teacher, int gender, const char* city) {
  Account account;
  account.phone = phone;
  account.passwordDigest = md5Hex(School::kPassword);
  account.profile = {{"nick", nick},
                     {"gender", gender},
                     {"role", teacher ? 1 : 0},
                     {"teacher", teacher ? 1 : 0},
                     {"province", "浙江"},
                     {"city", city},
                     {"bio", ""},
                     {"followCnt", "0"},
                     {"fansCnt", "0"},
                     {"mcoin", "0"},
                     {"notifyCnt", "0"},
                     {"otherDeviceLogin", {{"isLogin", false}, {"liveStatus", false}}}};
  return account;
}

void giveClassroom(Account& account, const char* id, const char* title) {
  account.profile["classroom"] = id;
  account.profile["classroominfo"] = {{"id", id},          {"title", title},  {"description", ""},
                                      {"status", "1"},     {"role", 1},       {"liveEnable", true},
                                      {"teacherCnt", "1"}, {"current", true}, {"demo", false}};
}

}  // namespace

std::string md5Hex(std::string_view text) {
  // Where only approved digests are the default, it is asked for by name.
  static EVP_MD* const digest = [] {
    EVP_MD* plain = EVP_MD_fetch(nullptr, "MD5", nullptr);
    return plain != nullptr ? plain : EVP_MD_fetch(nullptr, "MD5", "-fips");
  }();
  std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
  unsigned size = 0;
  if (digest == nullptr || EVP_Digest(text.data(), text.size(), bytes.data(), &size, digest, nullptr) != 1) {
    throw std::runtime_error("MD5 is not available");
  }
  return hex(bytes.data(), size);
}

json::object Account::data(std::string_view token) const {
  json::object data;
  data.emplace("uID", json::string_view(uID));
  data.emplace("token", json::string_view(token.data(), token.size()));
  data.emplace("phone", json::string_view(phone));
  for (const auto& [key, value] : profile) data.emplace(key, value);
  return data;
}

School::School(const std::string& dataFile) {
  if (!dataFile.empty()) {
    store_ = std::make_unique<SchoolStore>(dataFile);
    for (Account& account : store_->accounts()) accounts_.emplace(account.uID, std::move(account));
    for (auto& [token, uID] : store_->tokens()) {
      tokens_.emplace(token, uID);
      issued_[uID].push_back(token);
    }
  }
  if (accounts_.empty()) seed();
}

School::~School() = default;

void School::seed() {
  Account lin = seededAccount("13800000001", "林老师", true, 2, "杭州");
  giveClassroom(lin, "5001", "林老师的数学课堂");
  Account zhou = seededAccount("13800000002", "周老师", true, 1, "宁波");
  giveClassroom(zhou, "5002", "周老师的物理课堂");
  Account shen = seededAccount("13800000003", "沈老师", true, 2, "温州");
  giveClassroom(shen, "5003", "沈老师的绘画课堂");
  add(std::move(lin));
  add(std::move(zhou));
  add(std::move(shen));
  add(seededAccount("13900000001", "小明", false, 1, "杭州"));
  add(seededAccount("13900000002", "小红", false, 2, "杭州"));
  add(seededAccount("13900000003", "小刚", false, 1, "绍兴"));
  add(seededAccount("13900000004", "小雨", false, 2, "嘉兴"));
  add(seededAccount("13900000005", "小雪", false, 2, "湖州"));
}

Account* School::add(Account account) {
  account.uID = std::to_string(100'001 + accounts_.size());
  auto [place, added] = accounts_.emplace(account.uID, std::move(account));
  if (store_) store_->save(place->second);
  return added ? &place->second : nullptr;
}

Account* School::enrol(Account account) {
  return accounts_.size() >= kMaxAccounts ? nullptr : add(std::move(account));
}

void School::save(const Account& account) {
  if (store_) store_->save(account);
}

Account* School::findByID(std::string_view uID) {
  auto found = accounts_.find(uID);
  return found == accounts_.end() ? nullptr : &found->second;
}

Account* School::findByPhone(std::string_view phone) {
  if (phone.empty()) return nullptr;
  auto found = std::find_if(accounts_.begin(), accounts_.end(),
                            [&](const auto& entry) { return entry.second.phone == phone; });
  return found == accounts_.end() ? nullptr : &found->second;
}

Account* School::findByOpenID(std::string_view openID) {
  if (openID.empty()) return nullptr;
  auto found = std::find_if(accounts_.begin(), accounts_.end(),
                            [&](const auto& entry) { return entry.second.openID == openID; });
  return found == accounts_.end() ? nullptr : &found->second;
}

Account* School::findByIDOrPhone(std::string_view user) {
  Account* account = findByID(user);
  return account != nullptr ? account : findByPhone(user);
}

std::string School::issueToken(const Account& account) {
  std::string token = newToken();
  std::vector<std::string>& issued = issued_[account.uID];
  if (issued.size() >= kMaxTokensOfAccount) dropToken(std::string(issued.front()));
  issued.push_back(token);
  tokens_.emplace(token, account.uID);
  if (store_) store_->saveToken(token, account.uID);
  return token;
}

Account* School::findByToken(std::string_view token) {
  auto found = tokens_.find(token);
  return found == tokens_.end() ? nullptr : findByID(found->second);
}

void School::dropToken(std::string_view token) {
  auto found = tokens_.find(token);
  if (found == tokens_.end()) return;
  std::erase(issued_[found->second], found->first);
  if (store_) store_->removeToken(token);
  tokens_.erase(found);
}

void School::dropTokens(std::string_view uID, std::string_view kept) {
  auto issued = issued_.find(uID);
  if (issued == issued_.end()) return;
  for (const std::string& token : std::vector<std::string>(issued->second)) {
    if (token != kept) dropToken(token);
  }
}

void School::dropAllTokens() {
  for (const auto& [uID, account] : accounts_) dropTokens(uID);
}

}  // namespace orv::devserver
