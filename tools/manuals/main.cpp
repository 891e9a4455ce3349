// Writes the manual pages of the programs, and the completions of shells, into a folder.
//
//   orv_manuals FOLDER

#include "Manual.h"

#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

using namespace orv::manuals;

void write(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

void writeAll(const Manual& manual, const std::string& folder) {
  const std::string place = folder + "/" + manual.name;
  write(place + ".1", manPage(manual));
  write(place + ".bash", bashCompletion(manual));
  write(place + ".zsh", zshCompletion(manual));
  write(place + ".fish", fishCompletion(manual));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: orv_manuals FOLDER\n";
    return 1;
  }
  try {
    writeAll(manualOfOrv(), argv[1]);
    writeAll(manualOfDevserver(), argv[1]);
  } catch (const std::exception& error) {
    std::cerr << "orv_manuals: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
