// The command line tool `vorlandi`.
#include "Run.hpp"

int main(int argc, char* argv[]) { return vorlandi::cli::run(argc, argv); }
