// What the headers of the commands name of the parser of options. The parser itself takes long to compile: only the
// files that define options include it.
#pragma once

namespace CLI {
class App;
class ValidationError;
class Validator;
}  // namespace CLI
