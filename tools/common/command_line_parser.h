// SPDX-License-Identifier: ISC
// The names of the command line's parser, whose own header takes seconds to compile: for headers,
// which only pass it on.
#pragma once

namespace CLI {
class App;
class Option;
class ParseError;
class Success;
}  // namespace CLI
