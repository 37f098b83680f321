// vorlandi.hpp in a program without exceptions, as its only include.
#define VORLANDI_NO_EXCEPTIONS
#include <vorlandi/vorlandi.hpp>

int main(int argc, char** argv) {
    if (argc != 2 || vorlandi::try_load("/nowhere/7.e")) return 1;
    const vorlandi::LoadOutcome outcome = vorlandi::try_load(argv[1], {.strict = true});
    if (!outcome || outcome.loaded.size() != 1) return 2;
    const vorlandi::Satellite satellite = outcome.loaded[0];
    const auto span = satellite.try_span();
    if (!span || !satellite.try_state(span.value.first)) return 3;
    if (satellite.try_state({span.value.last.days + 1.0}) || vorlandi::last_error().empty()) return 4;
    vorlandi::TraceListener listener([](vorlandi::Severity, std::string_view) {});
    vorlandi::TraceListener second([](vorlandi::Severity, std::string_view) {});
    return listener.active() && !second.active() ? 0 : 5;
}
