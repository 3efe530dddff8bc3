// Funcs::splitCommandLine and joinCommandLine: splitting any text is safe,
// and joining arguments splits back to the same arguments wherever that is
// promised (an argument with a single quote holds no double quote or
// backslash).
#include <kelp/util/utl_Funcs.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

using qor::quv::util::Funcs;

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

bool promised(const std::string& arg) {
  return arg.find('\'') == std::string::npos || arg.find_first_of("\"\\") == std::string::npos;
}

void roundTrip(const std::vector<std::string>& args) {
  const std::string line = Funcs::joinCommandLine(args);
  std::vector<std::string> back;
  Funcs::splitCommandLine(line, &back);
  check(back == args);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  const std::string text(reinterpret_cast<const char*>(data), size);

  std::vector<std::string> args;
  Funcs::splitCommandLine(text, &args);
  check(args.size() <= text.size());
  if (std::all_of(args.begin(), args.end(), promised)) roundTrip(args);

  // The input as an argument vector: NUL bytes separate the arguments.
  std::vector<std::string> vec;
  std::string current;
  for (char c : text) {
    if (c == '\0') {
      vec.push_back(current);
      current.clear();
    } else {
      current += c;
    }
  }
  vec.push_back(current);
  for (std::string& arg : vec) {
    if (!promised(arg)) {
      arg.erase(std::remove(arg.begin(), arg.end(), '"'), arg.end());
      arg.erase(std::remove(arg.begin(), arg.end(), '\\'), arg.end());
    }
  }
  roundTrip(vec);
  return 0;
}
