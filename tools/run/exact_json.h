// Structs of the library as JSON and back: every field by name, every number such that reading gives the same.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tool::run {

using Json = nlohmann::ordered_json;

// A field of floats: one, or as many as its shape says, in nested arrays.
struct FloatField {
  std::string name;
  float* first;
  std::vector<std::size_t> shape = {};

  Json json() const;
  // Throws Failure unless these are so many finite numbers.
  void take(const Json& json) const;
};

// A whole number from least to most. Throws Failure.
std::int64_t wholeNumber(const std::string& name, const Json& json, std::int64_t least, std::int64_t most);

// The object that a text holds, no member there twice. what: "this is no ..."; throws Failure.
Json parsedOnce(const std::string& text, const std::string& what);

// Throws Failure when the object has others than these, or lacks one.
void requireMembers(const Json& object, const std::vector<std::string>& names, const std::string& what);

}  // namespace tool::run
