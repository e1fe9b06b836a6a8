// Prints curves of every kind with every pair of ends, a JSON record each, by the C++ layer of the library that is built
// for this processor: what the page is compared with.

#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

#include <ravenfit/ravenfit.hpp>

namespace {

using ravenfit::end_condition;
using ravenfit::spline_options;
using Numbers = std::vector<double>;

const Numbers x = {-1.0, -0.2, 0.5, 1.75, 2.0, 3.5, 4.25, 6.0, 6.5};
const Numbers y = {0.5, 1.25, -0.75, -0.5, 2.0, 2.25, 1.0, 1.0, 0.5};
const Numbers inner = {0.5, -1.0, 0.25, 1.5, 0.0, -0.75, 0.125};
const Numbers sites = {-3.5, -1.0, -0.9, 0.0, 0.5, 1.0, 1.9, 2.75, 4.0, 4.25, 5.9, 6.25, 6.5, 8.0};

struct Outside {
  const char* name;
  ravenfit::outside_mode mode;
};
const Outside outsides[] = {{"proceed", ravenfit::proceed},
                            {"clamp", ravenfit::clamp},
                            {"wrap", ravenfit::wrap},
                            {"nan", ravenfit::outside_mode::nan}};

struct End {
  const char* name;
  end_condition left;
  end_condition right;
};
const End ends[] = {{"own", ravenfit::own_end(), ravenfit::own_end()},
                    {"periodic", {end_condition::periodic, 0.0}, {end_condition::periodic, 0.0}},
                    {"free", ravenfit::free_end(), ravenfit::free_end()},
                    {"not-a-knot", ravenfit::not_a_knot(), ravenfit::not_a_knot()},
                    {"slope", ravenfit::slope(0.75), ravenfit::slope(-1.5)},
                    {"curvature", ravenfit::curvature(-2.0), ravenfit::curvature(3.0)}};
constexpr bool inPairs(std::size_t end) {
  return end < 2;
}

struct Kind {
  const char* name;
  spline_options options;
  std::initializer_list<std::size_t> ends;
};

void print(const char* name, const Numbers& values) {
  std::printf(", \"%s\": [", name);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const bool number = values[i] - values[i] == 0;
    std::printf(i == 0 ? "%s" : ", %s", number ? ravenfit::detail::number(values[i]).c_str() : "null");
  }
  std::printf("]");
}

void print(const char* kind, spline_options options, const Outside& outside, const std::string& more) {
  const ravenfit::spline curve(x, y, options.outside(outside.mode));
  std::printf("{\"kind\": \"%s\", \"outside\": \"%s\"%s", kind, outside.name, more.c_str());
  print("x", x);
  print("y", y);
  print("inner", inner);
  print("sites", sites);
  print("values", curve.at(sites));
  print("slopes", curve.at<1>(sites));
  print("bends", curve.at<2>(sites));
  std::printf("}\n");
}

std::string toText(const char* side, const char* name, double value) {
  return std::string(", \"") + side + "\": {\"type\": \"" + name +
         "\", \"value\": " + ravenfit::detail::number(value) + "}";
}

}  // namespace

int main() {
  using namespace ravenfit;
  const Kind kinds[] = {{"cubic", cubic(), {1, 2, 3, 4, 5}},
                        {"akima", akima(), {0, 1, 2, 3, 4, 5}},
                        {"modified-akima", modified_akima(), {0, 1, 2, 3, 4, 5}},
                        {"pchip", pchip(), {0, 1, 2, 3, 4, 5}},
                        {"steffen", steffen(), {0, 1, 2, 3, 4, 5}},
                        {"bessel", bessel(), {1, 2, 3, 4, 5}},
                        {"hermite", hermite(inner), {2, 3, 4, 5}},
                        {"second-derivatives", second_derivatives(inner), {2, 3, 4, 5}},
                        {"subbotin", subbotin(), {4, 5}}};
  std::size_t printed = 0;
  for (const Kind& kind : kinds) {
    for (const std::size_t left : kind.ends) {
      for (const std::size_t right : kind.ends) {
        if (left != right && (inPairs(left) || inPairs(right))) continue;
        spline_options options = kind.options;
        options.left(ends[left].left).right(ends[right].right);
        print(kind.name, options, outsides[printed++ % 4],
              toText("left", ends[left].name, ends[left].left.value) +
                  toText("right", ends[right].name, ends[right].right.value));
      }
    }
  }
  for (const Outside& outside : outsides) {
    print("linear", linear(), outside, "");
    print("quadratic", quadratic(0.625), outside, ", \"midpoint\": 0.625");
    for (const double lambda : {0.0, 0.0625, 1e4})
      print("smoothing", smoothing(lambda), outside, ", \"lambda\": " + detail::number(lambda));
  }
  print("smoothing", smoothing(), outsides[0], ", \"lambda\": null");
}
