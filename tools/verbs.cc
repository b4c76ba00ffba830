// Verb dispatch, help texts, `apply` and `list`.
#include "verbs.h"

#include <exception>
#include <fstream>
#include <iomanip>
#include <new>

#include "image_io.h"
#include "registry.h"

namespace ktool {
namespace {

const char kUsage[] =
    "usage: kelmira VERB [ARGS...]\n"
    "\n"
    "verbs:\n"
    "  demo [--out DIR] [--scalar]   run a chain of operators on a built-in 640x480 scene; write\n"
    "                                PNGs and index.html into DIR (default kelmira-demo)\n"
    "  apply IN OUT OP [ARGS...] [--points FILE]\n"
    "                                run one operator on an image file (PNG, PBM, PGM, PPM)\n"
    "  list                          the operators that apply knows, with their arguments\n"
    "  help [VERB]                   this text, or the help of one verb\n"
    "\n"
    "Every verb takes --help. Exit codes: 0 success, 2 bad usage or arguments, 3 unreadable,\n"
    "malformed or unwritable file, 4 the library refused the call (its error number, text and\n"
    "trace are printed).\n";

const char kDemoHelp[] =
    "usage: kelmira demo [--out DIR] [--scalar]\n"
    "\n"
    "Draws a 640x480 scene (machined parts with holes, printed marks, uneven light and sensor\n"
    "noise) in colour and in gray, runs a chain of operators on it, and writes each result as a PNG\n"
    "into DIR (default kelmira-demo) with an index.html contact sheet that captions every picture\n"
    "with the command that reproduces it. Prints what ran and how long each step took (median of\n"
    "5 runs). --scalar switches the wide (vector) paths off, to compare their times.\n";

const char kApplyHelp[] =
    "usage: kelmira apply IN OUT OP [ARGS...] [--points FILE]\n"
    "\n"
    "Reads IN (PNG, or PGM/PPM in binary or plain form; gray stays gray, colour stays colour,\n"
    "16-bit samples are reduced to 8 bits, alpha is dropped), runs operator OP with ARGS, and writes\n"
    "OUT, whose name picks the format: .png, .pgm (gray only), .ppm or .pnm. Image arguments are\n"
    "file names. `kelmira list` shows the operators and their arguments.\n"
    "\n"
    "--points FILE  also writes the numbers that the operator measures (the points of a contour,\n"
    "               for instance) to FILE as CSV, with a header line; refused for operators that\n"
    "               measure none.\n";

const char kListHelp[] =
    "usage: kelmira list\n"
    "\n"
    "Prints every operator that `kelmira apply` knows: its name, arguments, the input it takes\n"
    "and what it does.\n";

bool WantsHelp(const Words& words) {
  for (const std::string& w : words)
    if (w == "--help" || w == "-h") return true;
  return false;
}

// Removes `--points FILE` from the words; returns FILE, or "" when the option is absent.
std::string TakePointsOption(Words* words) {
  std::string file;
  for (size_t i = 0; i < words->size();) {
    if ((*words)[i] != "--points") {
      ++i;
      continue;
    }
    if (i + 1 >= words->size()) UsageError("apply: --points needs a FILE");
    if (!file.empty()) UsageError("apply: --points given twice");
    file = (*words)[i + 1];
    words->erase(words->begin() + static_cast<long>(i), words->begin() + static_cast<long>(i) + 2);
  }
  return file;
}

void WritePoints(const PointTable& table, const std::string& path) {
  std::ofstream csv(path);
  if (!csv) FileError(path + ": cannot open for writing");
  for (size_t i = 0; i < table.columns.size(); ++i) csv << (i ? "," : "") << table.columns[i];
  csv << "\n";
  for (const auto& row : table.rows) {
    for (size_t i = 0; i < row.size(); ++i) csv << (i ? "," : "") << row[i];
    csv << "\n";
  }
  csv.flush();
  if (!csv) FileError(path + ": write failed");
}

void RefuseOptions(const Words& words, const char* verb) {
  for (const std::string& w : words)
    if (w.size() > 1 && w[0] == '-' && w.find_first_not_of("-0123456789.") != std::string::npos)
      UsageError(std::string(verb) + ": unknown option '" + w + "'");
}

}  // namespace

void Apply(const Words& given, std::ostream& out) {
  if (WantsHelp(given)) {
    out << kApplyHelp;
    return;
  }
  Words words = given;
  const std::string pointsFile = TakePointsOption(&words);
  RefuseOptions(words, "apply");
  if (words.size() < 3) UsageError("apply needs IN OUT OP [ARGS...]; see kelmira apply --help");
  const Operator* op = FindOperator(words[2]);
  if (op == nullptr) UsageError("unknown operator '" + words[2] + "'; kelmira list shows the operators");
  const Picture in = ReadImage(words[0]);
  const Words args(words.begin() + 3, words.end());
  PointTable points;
  const Picture result =
      RunOperator(*op, in, args, [](const std::string& path) { return ReadImage(path); }, &points);
  if (!pointsFile.empty() && points.columns.empty()) UsageError(std::string(op->name) + " measures no points for --points");
  WriteImage(result, words[1]);
  out << words[1] << ": " << result.Describe() << " (" << op->name << ")\n";
  if (!pointsFile.empty()) {
    WritePoints(points, pointsFile);
    out << pointsFile << ": " << points.rows.size() << " rows\n";
  }
}

void List(const Words& words, std::ostream& out) {
  if (WantsHelp(words)) {
    out << kListHelp;
    return;
  }
  if (!words.empty()) UsageError("list takes no arguments");
  out << "operators of kelmira apply IN OUT OP [ARGS...]:\n";
  for (const Operator& op : Operators()) {
    const std::string head = std::string(op.name) + " " + op.arguments;
    out << "  " << std::left << std::setw(30) << head << " [" << op.input << "] " << op.summary << "\n"
        << "  " << std::setw(30) << "" << " e.g. kelmira apply in.png out.png " << op.name << " " << op.example << "\n";
  }
  out << "\nCODE of oper and const-oper, by name or number:\n ";
  int column = 1;
  for (const auto& [name, value] : OperCodes()) {
    const std::string item = " " + name + "=" + std::to_string(value);
    if (column + item.size() > 96) {
      out << "\n ";
      column = 1;
    }
    out << item;
    column += static_cast<int>(item.size());
  }
  out << "\n";
}

int Main(const Words& words, std::ostream& out, std::ostream& err) {
  try {
    if (words.empty()) {
      err << kUsage;
      return kExitUsage;
    }
    const std::string& verb = words[0];
    const Words rest(words.begin() + 1, words.end());
    if (verb == "--help" || verb == "-h" || verb == "help") {
      if (rest.empty() || rest[0] == "--help" || rest[0] == "-h") out << kUsage;
      else if (rest[0] == "demo") out << kDemoHelp;
      else if (rest[0] == "apply") out << kApplyHelp;
      else if (rest[0] == "list") out << kListHelp;
      else UsageError("unknown verb '" + rest[0] + "'");
    } else if (verb == "demo") {
      if (WantsHelp(rest)) out << kDemoHelp;
      else Demo(rest, out);
    } else if (verb == "apply") {
      Apply(rest, out);
    } else if (verb == "list") {
      List(rest, out);
    } else {
      UsageError("unknown verb '" + verb + "'; try kelmira --help");
    }
    out.flush();
    return kExitOk;
  } catch (const ToolError& e) {
    err << "kelmira: " << e.what() << "\n";
    return e.code();
  } catch (const std::bad_alloc&) {
    err << "kelmira: out of memory\n";
    return kExitFile;
  } catch (const std::exception& e) {
    err << "kelmira: " << e.what() << "\n";
    return 1;
  }
}

}  // namespace ktool
