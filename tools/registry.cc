// The operator table and the argument checks behind it.
#include "registry.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace ktool {

// ----- Call ----------------------------------------------------------------------------------

ZImage<ZBW8>* Call::Gray() const {
  if (m_in.colour()) UsageError(m_op + " needs a gray image; the input is colour");
  return m_in.gray();
}

ZImage<ZC24>* Call::Colour() const {
  if (!m_in.colour()) UsageError(m_op + " needs a colour image; the input is gray");
  return m_in.rgb();
}

const std::string& Call::Arg(size_t i, const char* what) const {
  if (i >= m_args.size()) UsageError(m_op + ": missing argument " + what);
  return m_args[i];
}

long Call::Int(size_t i, const char* what, long lo, long hi) const {
  const std::string& text = Arg(i, what);
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(text.c_str(), &end, 0);
  if (text.empty() || *end != '\0' || errno == ERANGE)
    UsageError(m_op + ": " + what + " must be an integer, not '" + text + "'");
  if (value < lo || value > hi)
    UsageError(m_op + ": " + what + " must lie in " + std::to_string(lo) + ".." + std::to_string(hi) + ", not " + text);
  return value;
}

float Call::Float(size_t i, const char* what) const {
  const std::string& text = Arg(i, what);
  char* end = nullptr;
  const float value = std::strtof(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !std::isfinite(value))
    UsageError(m_op + ": " + what + " must be a number, not '" + text + "'");
  return value;
}

int Call::Choice(size_t i, const char* what, const std::vector<std::pair<std::string, int>>& choices) const {
  const std::string& text = Arg(i, what);
  std::string names;
  for (const auto& [name, value] : choices) {
    if (strcasecmp(text.c_str(), name.c_str()) == 0 || text == std::to_string(value)) return value;
    names += (names.empty() ? "" : ", ") + name;
  }
  UsageError(m_op + ": unknown " + what + " '" + text + "' (one of: " + names + ")");
}

Picture Call::Image(size_t i, const char* what) const {
  Picture picture = m_images(Arg(i, what));
  if (picture.width() != m_in.width() || picture.height() != m_in.height())
    UsageError(m_op + ": " + what + " is " + picture.Describe() + ", the input " + m_in.Describe() +
               "; they must have the same size");
  return picture;
}

void Call::Library(const char* name, const std::function<void()>& call) const {
  ZOk();
  call();
  CheckLibrary(name);
}

// ----- Operators -----------------------------------------------------------------------------

namespace {

void GetComponent(Call& c) {
  const unsigned component = static_cast<unsigned>(c.Int(0, "COMPONENT", 0, 255));
  ZImage<ZC24>* in = c.Colour();
  Picture& out = c.NewGray();
  c.Library("HueGetComponent", [&] { HueGetComponent(in, out.gray(), component); });
}

void SetComponent(Call& c) {
  const unsigned component = static_cast<unsigned>(c.Int(0, "COMPONENT", 0, 255));
  const Picture plane = c.Image(1, "PLANE");
  if (plane.colour()) UsageError("set-component: PLANE must be a gray image");
  c.Colour();
  c.out() = c.in().Clone();
  c.Library("HueSetComponent", [&] { HueSetComponent(plane.gray(), c.out().rgb(), component); });
}

void SwapComponents(Call& c) {
  const unsigned a = static_cast<unsigned>(c.Int(0, "A", 0, 2)), b = static_cast<unsigned>(c.Int(1, "B", 0, 2));
  ZImage<ZC24>* in = c.Colour();
  Picture& out = c.NewColour();
  ZImage<ZBW8> plane(in->GetWidth(), in->GetHeight());
  for (unsigned k = 0; k < 3; ++k) {
    const unsigned from = k == a ? b : k == b ? a : k;
    c.Library("HueGetComponent", [&] { HueGetComponent(in, &plane, from); });
    c.Library("HueSetComponent", [&] { HueSetComponent(&plane, out.rgb(), k); });
  }
}

// A view on the input; a rectangle that does not fit makes the view void, and that is refused.
template <class T>
void CropView(Call& c, ZImage<T>* in, Picture& out, int x, int y, int w, int h) {
  ZROI<T> view(in, x, y, w, h);
  if (view.GetVoid())
    UsageError("crop: the rectangle " + std::to_string(w) + "x" + std::to_string(h) + " at (" + std::to_string(x) +
               ", " + std::to_string(y) + ") does not lie inside the " + c.in().Describe() + " image");
  for (int row = 0; row < h; ++row)
    std::memcpy(out.row(row), view.GetImagePtr(0, row), static_cast<size_t>(w) * sizeof(T));
}

void Crop(Call& c) {
  const int x = static_cast<int>(c.Int(0, "X", 0, 65535)), y = static_cast<int>(c.Int(1, "Y", 0, 65535));
  const int w = static_cast<int>(c.Int(2, "WIDTH", 1, 65535)), h = static_cast<int>(c.Int(3, "HEIGHT", 1, 65535));
  if (c.in().colour()) {
    c.out() = Picture::Colour(w, h);
    CropView(c, c.in().rgb(), c.out(), x, y, w, h);
  } else {
    c.out() = Picture::Gray(w, h);
    CropView(c, c.in().gray(), c.out(), x, y, w, h);
  }
}

}  // namespace

const std::vector<Operator>& Operators() {
  // name, arguments, input, what it does, example arguments, argument count min and max, function
  static const std::vector<Operator> table = {
      {"get-component", "COMPONENT", "colour", "the plane of one component (0 red, 1 green, 2 blue) as a gray image",
       "1", 1, 1, GetComponent},
      {"set-component", "COMPONENT PLANE", "colour",
       "replaces component COMPONENT (0..2) with the gray image PLANE of the same size", "0 plane.png", 2, 2,
       SetComponent},
      {"swap", "A B", "colour", "exchanges components A and B (0..2)", "0 2", 2, 2, SwapComponents},
      {"crop", "X Y WIDTH HEIGHT", "gray|colour", "the WIDTHxHEIGHT rectangle whose top-left pixel is (X, Y)",
       "10 20 64 48", 4, 4, Crop},
  };
  return table;
}

const Operator* FindOperator(const std::string& name) {
  for (const Operator& op : Operators())
    if (name == op.name) return &op;
  return nullptr;
}

Picture RunOperator(const Operator& op, const Picture& in, const std::vector<std::string>& args,
                    const ImageSource& images) {
  const int n = static_cast<int>(args.size());
  if (n < op.minArgs || n > op.maxArgs) {
    const std::string expected = op.minArgs == op.maxArgs ? std::to_string(op.minArgs)
                                                          : std::to_string(op.minArgs) + " to " + std::to_string(op.maxArgs);
    UsageError(std::string(op.name) + " takes " + expected + " argument" + (op.maxArgs == 1 ? "" : "s") + " (" +
               op.arguments + "), " + std::to_string(n) + " given");
  }
  Call call(op.name, in, args, images);
  op.run(call);
  return call.out();
}

}  // namespace ktool
