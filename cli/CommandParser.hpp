// Declares what the headers of the commands need from the option parser. The parser itself is slow to compile: only
// files that define options include it.
#pragma once

namespace CLI {
class App;
class ValidationError;
class Validator;
}  // namespace CLI
