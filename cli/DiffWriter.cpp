#include "DiffWriter.hpp"

namespace vorlandi::cli {

std::unique_ptr<DiffWriter> makeDiffWriter(const DiffStyle& style, Output& output) {
    switch (style.format) {
        case Format::Csv:
            return makeDiffCsv(style.each, output);
        case Format::Json:
        case Format::Jsonl:
            return makeDiffJson(style.each, style.tolerance_m, output);
        case Format::Table:
            break;
    }
    return makeDiffTable(style.each, output);
}

}  // namespace vorlandi::cli
