// Recipes: settings of the library in a JSON file, the Python module's too.
#pragma once

#include <veskaronr.h>

#include <string>

namespace tool::run {

std::string recipeOf(const vnr_settings& settings);

// Throws Failure for what is no recipe, has too few fields or too many, or values that no filter can work with.
vnr_settings settingsOfRecipe(const std::string& text);

}  // namespace tool::run
