/* Table-driven runs of the kelp tool: arguments, the exit status and the
 * exact standard output and error expected. */
#ifndef KELP_TEST_TOOL_CASES_H
#define KELP_TEST_TOOL_CASES_H

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tool_runner.h"

namespace kelp::test {

struct ToolCase {
  std::vector<std::string> args;
  int status;
  std::string out;
  std::string err;  // exact; "" when nothing is expected
};

inline std::string describe(const std::vector<std::string>& args) {
  std::string text = "kelp";
  for (const std::string& a : args) text += " [" + a + "]";
  return text;
}

/* Runs every case and compares status, output and error exactly. */
inline void expectCases(const std::vector<ToolCase>& cases,
                        const std::map<std::string, std::string>& env = {}) {
  for (const ToolCase& c : cases) {
    SCOPED_TRACE(describe(c.args));
    ToolResult r = runKelp(c.args, "", env);
    EXPECT_EQ(r.status, c.status);
    EXPECT_EQ(r.out, c.out);
    EXPECT_EQ(r.err, c.err);
  }
}

/* The message of a usage error, as the tool prints it for `family`. */
inline std::string usageText(const std::string& family, const std::string& message) {
  return "kelp " + family + ": " + message + "\nsee 'kelp " + family + " --help'\n";
}

}  // namespace kelp::test

#endif
