#include "run/exact_json.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <vector>

#include "base/failure.h"

namespace tool::run {
namespace {

// What a message shows of a value.
std::string briefly(const Json& json) {
  const std::string text = json.dump(-1, ' ', true);
  return text.size() <= 60 ? text : text.substr(0, 57) + "...";
}

[[noreturn]] void refuse(const std::string& name, const Json& json) {
  throw Failure(name + " cannot be " + briefly(json));
}

float finite(const std::string& name, const Json& json) {
  const double value = json.is_number() ? json.get<double>() : NAN;
  const float number = static_cast<float>(std::clamp(value, -1e39, 1e39));
  if (!std::isfinite(number)) refuse(name, json);
  return number;
}

using Shape = std::vector<std::size_t>;

Json nested(const float*& from, Shape::const_iterator shape, Shape::const_iterator end) {
  if (shape == end) return static_cast<double>(*from++);
  Json all = Json::array();
  for (std::size_t i = 0; i < *shape; ++i) all.push_back(nested(from, shape + 1, end));
  return all;
}

void takeNested(const std::string& name, const Json& json, float*& to, Shape::const_iterator shape,
                Shape::const_iterator end) {
  if (shape == end) {
    *to++ = finite(name, json);
    return;
  }
  if (!json.is_array() || json.size() != *shape) refuse(name, json);
  for (const Json& part : json) takeNested(name, part, to, shape + 1, end);
}

}  // namespace

Json FloatField::json() const {
  const float* from = first;
  return nested(from, shape.begin(), shape.end());
}

void FloatField::take(const Json& json) const {
  float* to = first;
  takeNested(name, json, to, shape.begin(), shape.end());
}

std::int64_t wholeNumber(const std::string& name, const Json& json, std::int64_t least, std::int64_t most) {
  if (!json.is_number_integer() || json.get<double>() < static_cast<double>(least) ||
      json.get<double>() > static_cast<double>(most)) {
    refuse(name, json);
  }
  return json.get<std::int64_t>();
}

Json parsedOnce(const std::string& text, const std::string& what) try {
  std::vector<std::set<std::string>> objects;
  const auto check = [&](int, Json::parse_event_t event, Json& parsed) {
    if (event == Json::parse_event_t::object_start) objects.emplace_back();
    if (event == Json::parse_event_t::object_end) objects.pop_back();
    if (event == Json::parse_event_t::key && !objects.back().insert(parsed.get<std::string>()).second)
      throw Failure(what + " has " + briefly(parsed) + " twice");
    return true;
  };
  Json json = Json::parse(text, check);
  if (!json.is_object()) throw Failure("this is no " + what);
  return json;
} catch (const Json::exception&) {
  throw Failure("this is no " + what);
}

void requireMembers(const Json& object, const std::vector<std::string>& names, const std::string& what) {
  for (const auto& member : object.items()) {
    if (std::find(names.begin(), names.end(), member.key()) == names.end())
      throw Failure(what + " has an unknown field " + briefly(member.key()));
  }
  for (const std::string& name : names) {
    if (!object.contains(name)) throw Failure(what + " lacks " + name);
  }
}

}  // namespace tool::run
