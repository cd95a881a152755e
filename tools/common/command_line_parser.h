// SPDX-License-Identifier: ISC
// Forward declarations of CLI11's classes, whose own header takes seconds to compile.
#pragma once

namespace CLI {
class App;
class Option;
class ParseError;
class Success;
}  // namespace CLI
