#include "Screen.h"

#include <algorithm>
#include <utility>

namespace orv::test {

void Screen::write(std::string_view bytes) {
  for (const char c : bytes) {
    if (begun_.empty() && c != '\x1b') {
      c >= ' ' || c < 0 ? put(c) : control(c);
      continue;
    }
    begun_ += c;
    if (begun_.size() < 3 && (begun_.size() < 2 || c == '[')) continue;
    const bool isControlSequence = begun_[1] == '[';
    if (isControlSequence && !(c >= '@' && c <= '~')) continue;
    if (isControlSequence) {
      sequence(std::string_view(begun_).substr(2, begun_.size() - 3), c);
    } else {
      unknown_ += begun_ + " ";
    }
    begun_.clear();
  }
}

Screen::Row& Screen::row(std::size_t index) {
  while (rows_.size() <= index) rows_.push_back({});
  return rows_[index];
}

void Screen::put(char c) {
  if ((static_cast<unsigned char>(c) & 0xC0) == 0x80) return;  // one column a character
  if (x_ >= columns_) {
    row(y_).wraps = true;
    ++y_;
    x_ = 0;
  }
  Row& here = row(y_);
  if (here.text.size() < x_) here.text.resize(x_, ' ');
  const char shown = c < 0 ? '?' : c;
  if (inserts_) {
    here.text.insert(x_, 1, shown);
    here.text.resize(std::min(here.text.size(), columns_));
  } else if (x_ < here.text.size()) {
    here.text[x_] = shown;
  } else {
    here.text += shown;
  }
  ++x_;
}

void Screen::control(char c) {
  switch (c) {
    case '\r':
      x_ = 0;
      break;
    case '\n':
      row(++y_);
      break;
    case '\b':
      x_ = std::min(x_, columns_ - 1);
      if (x_ > 0) --x_;
      break;
    case '\a':
      break;
    default:
      unknown_ += "control " + std::to_string(static_cast<int>(c)) + " ";
  }
}

void Screen::sequence(std::string_view parameters, char final) {
  const std::string text(parameters);
  const bool isNumber = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
  const std::size_t n = isNumber ? std::stoul(text) : 1;
  std::string& line = row(y_).text;
  switch (final) {
    case 'A':
      y_ -= std::min(n, y_);
      break;
    case 'B':
      row(y_ += n);
      break;
    case 'C':
      x_ = std::min(x_ + n, columns_ - 1);
      break;
    case 'D':
      x_ = std::min(x_, columns_ - 1);
      x_ -= std::min(n, x_);
      break;
    case 'J':
      eraseBelow();
      break;
    case 'K':
      line.resize(std::min(line.size(), x_));
      row(y_).wraps = false;
      break;
    case 'P':
      if (x_ < line.size()) line.erase(x_, n);
      break;
    case '@':
      if (x_ < line.size()) line.insert(x_, n, ' ');
      line.resize(std::min(line.size(), columns_));
      break;
    case 'n':
      asked_ = text == "6";
      break;
    case 'm':
      break;
    case 'h':
    case 'l':
      if (text == "4") inserts_ = final == 'h';
      break;
    default:
      unknown_ += text + final + " ";
  }
}

void Screen::eraseBelow() {
  Row& here = row(y_);
  here.text.resize(std::min(here.text.size(), x_));
  here.wraps = false;
  rows_.resize(y_ + 1);
}

bool Screen::wasAsked() {
  return std::exchange(asked_, false);
}

std::string Screen::answer() const {
  return "\x1b[" + std::to_string(y_ + 1) + ";" + std::to_string(std::min(x_, columns_ - 1) + 1) + "R";
}

void Screen::resize(std::size_t columns) {
  const std::size_t former = std::exchange(columns_, columns);
  if (!reflows_) {
    for (Row& each : rows_) each.text.resize(std::min(each.text.size(), columns));
    x_ = std::min(x_, columns - 1);
    return;
  }
  std::vector<Row> rows;
  std::size_t y = 0, x = 0;
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    // One line with all rows that it has been wrapped into.
    std::string line;
    std::size_t cursor = std::string::npos;
    for (bool more = true; more; ++i) {
      if (i == y_) cursor = line.size() + x_;
      more = rows_[i].wraps && i + 1 < rows_.size();
      if (more) rows_[i].text.resize(former, ' ');
      line += rows_[i].text;
    }
    --i;
    const std::size_t first = rows.size();
    for (std::size_t at = 0; at == 0 || at < line.size(); at += columns) {
      rows.push_back({line.substr(at, columns), at + columns < line.size()});
    }
    if (cursor == std::string::npos) continue;
    y = first + cursor / columns;
    x = cursor % columns;
    while (rows.size() <= y) {
      rows.back().wraps = true;
      rows.push_back({});
    }
  }
  rows_ = std::move(rows);
  y_ = y;
  x_ = x;
}

std::vector<std::string> Screen::rows() const {
  std::vector<std::string> shown;
  for (const Row& each : rows_) {
    shown.push_back(each.text.substr(0, each.text.find_last_not_of(' ') + 1));
  }
  return shown;
}

}  // namespace orv::test
