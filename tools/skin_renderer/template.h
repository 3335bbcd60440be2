/// Vector sources are templates: SVG with commands between double braces.
///
///   {{expression}}                     its value (see expression.h)
///   {{set name = expression}}          a variable, known from here on
///   {{for name in first..last}} {{end}}
///   {{if expression}} {{else}} {{end}}
///   {{include file.svg}}               another source, with the variables as they are here
///   {{# a remark}}
#pragma once

#include <string>

#include "tools/skin_renderer/expression.h"

namespace skin_renderer {

/// The source `file` of `folder` with all commands carried out. Variables that the source sets are
/// found in `variables` afterwards. Throws std::runtime_error naming the file and the command.
std::string Expand(const std::string& folder, const std::string& file, Variables& variables);

/// The same for a text; `folder` is where included files are looked for.
std::string ExpandText(std::string_view text, const std::string& folder, Variables& variables);

}  // namespace skin_renderer
