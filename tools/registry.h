// The operators that `apply` and the demo can run, by name. Adding one is one entry in the table
// of registry.cc: a name, its arguments, a line of help and a function over a Call.
#ifndef KELMIRA_TOOL_REGISTRY_H
#define KELMIRA_TOOL_REGISTRY_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "picture.h"

namespace ktool {

// Resolves an image argument: a file name in `apply`, an earlier result ("@name") in the demo.
using ImageSource = std::function<Picture(const std::string&)>;

// Numbers that an operator gives beside its picture, one row per item (the points of a path, for
// instance): `apply --points FILE` writes them as CSV, the columns as its header line.
struct PointTable {
  std::vector<std::string> columns;
  std::vector<std::vector<long>> rows;
};

// One run of an operator: its input, its arguments, checked accessors, and the result.
class Call {
 public:
  Call(const std::string& op, const Picture& in, const std::vector<std::string>& args, ImageSource images)
      : m_op(op), m_in(in), m_args(args), m_images(std::move(images)) {}

  const Picture& in() const { return m_in; }
  // The input as a gray or a colour view; a UsageError when it is the other kind.
  ZImage<ZBW8>* Gray() const;
  ZImage<ZC24>* Colour() const;

  // Argument i as an integer in [lo, hi], a float, one of named choices (or its number), or an image.
  long Int(size_t i, const char* what, long lo, long hi) const;
  float Float(size_t i, const char* what) const;
  int Choice(size_t i, const char* what, const std::vector<std::pair<std::string, int>>& choices) const;
  Picture Image(size_t i, const char* what) const;
  // Argument i as given; whether there is one.
  const std::string& Word(size_t i, const char* what) const { return Arg(i, what); }
  bool Has(size_t i) const { return i < m_args.size(); }

  // The result: a new picture of the input's size, gray or colour.
  Picture& NewGray() { return m_out = Picture::Gray(m_in.width(), m_in.height()); }
  Picture& NewColour() { return m_out = Picture::Colour(m_in.width(), m_in.height()); }
  Picture& out() { return m_out; }
  // The operator's table of numbers, empty unless it fills one.
  PointTable& points() { return m_points; }
  // ZOk before a library call, then CheckLibrary after it: `Library("LumOper", [&] { LumOper(...); })`.
  void Library(const char* name, const std::function<void()>& call) const;

 private:
  const std::string& Arg(size_t i, const char* what) const;
  std::string m_op;
  const Picture& m_in;
  const std::vector<std::string>& m_args;
  ImageSource m_images;
  Picture m_out;
  PointTable m_points;
};

struct Operator {
  const char* name;
  const char* arguments;  // synopsis, e.g. "X Y WIDTH HEIGHT"
  const char* input;      // "gray", "colour" or "gray|colour"
  const char* summary;    // one line: what it does and what each argument means
  const char* example;    // arguments of a typical call, shown by `list` and run by the tests
  int minArgs;
  int maxArgs;
  void (*run)(Call& call);
};

// A demo step: `op` of the table run on `input` ("gray", "colour" or an earlier step's name); an
// argument "@name" stands for an earlier step's result.
struct DemoStep {
  const char* name;     // result name and file name stem
  const char* caption;  // under the picture
  const char* input;
  const char* op;
  std::vector<std::string> args;
};

// An operator family of the tool lives in its own file tools/ops_<family>.cc, which defines
//   void AddFamily_<family>(ktool::Family& family)
// appending its operators and demo steps. The build finds these files and calls each function
// once, in the order of the file names, after the operators and steps of registry.cc and demo.cc.
struct Family {
  std::vector<Operator>& operators;
  std::vector<DemoStep>& steps;
};

const std::vector<Operator>& Operators();
// The steps that the family files added.
const std::vector<DemoStep>& FamilyDemoSteps();
// The demo chain: the steps of demo.cc, then those of every family file.
const std::vector<DemoStep>& DemoSteps();
// The operation codes of LumOper by name (the `oper` operator takes a name or the number).
const std::vector<std::pair<std::string, int>>& OperCodes();
// The automatic modes of LUM_THRESHOLD_MODES by name, as the histogram and threshold operators take them.
const std::vector<std::pair<std::string, int>>& ThresholdModes();
// Null when there is no operator of that name.
const Operator* FindOperator(const std::string& name);
// Checks the argument count, runs the operator and returns its result; the operator's table of
// numbers goes to `points` when it is given.
Picture RunOperator(const Operator& op, const Picture& in, const std::vector<std::string>& args,
                    const ImageSource& images, PointTable* points = nullptr);

}  // namespace ktool

#endif  // KELMIRA_TOOL_REGISTRY_H
