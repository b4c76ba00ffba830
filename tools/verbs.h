// The verbs of the kelmira program. Each takes the words after the verb, writes to `out`, and
// throws ToolError on failure; Main() turns that into one line on `err` and an exit code.
#ifndef KELMIRA_TOOL_VERBS_H
#define KELMIRA_TOOL_VERBS_H

#include <ostream>
#include <string>
#include <vector>

namespace ktool {

using Words = std::vector<std::string>;

void Demo(const Words& words, std::ostream& out);
void Apply(const Words& words, std::ostream& out);
void List(const Words& words, std::ostream& out);
// `kelmira stats` (tools/ops_measure.cc) and its help text.
void Stats(const Words& words, std::ostream& out);
const char* StatsHelp();

// The whole program: the verb dispatch, --help, and the error line. Returns the exit code.
int Main(const Words& words, std::ostream& out, std::ostream& err);

}  // namespace ktool

#endif  // KELMIRA_TOOL_VERBS_H
