// Loads files as the tool does, and reports what was stored and what went wrong.
#include "Loading.hpp"

#include <pybind11/stl.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "LoadFindings.hpp"
#include "Support.hpp"

namespace vorlandi::python {
namespace {

// The outcome of one file.
struct Loaded {
    cli::LoadResults results;
    std::exception_ptr thrown;

    bool hasFailed() const { return thrown != nullptr || results.stored.empty(); }
};

using Load = std::function<void(const cli::InputOptions&, cli::Console&, cli::LoadResults&)>;

Loaded run(const Load& load, const cli::InputOptions& input, cli::Console& console) {
    Loaded loaded;
    loaded.results.wantsReports = true;
    try {
        load(input, console, loaded.results);
    } catch (...) {
        loaded.thrown = std::current_exception();
    }
    return loaded;
}

py::tuple storedOf(const cli::LoadResults& results, std::int64_t key) {
    const auto origin = results.origins.find(key);
    const bool isFile = origin != results.origins.end() && origin->second.medium == cli::Medium::File;
    return py::make_tuple(key, origin != results.origins.end() ? origin->second.format : "", isFile);
}

py::tuple messageOf(const cli::LoadResults& results, const cli::LoadReport& report) {
    const analysis::Finding finding = cli::findingOf(report, results);
    return py::make_tuple(nameOf(finding.severity), nameOf(finding.kind), py::bytes(report.file), report.line,
                          textOf(report.lineText), textOf(report.text));
}

void removeAll(const std::vector<Loaded>& loaded) {
    for (const Loaded& one : loaded)
        for (const std::int64_t key : one.results.stored)
            VorlanRemoveSat(key);
}

// (stored: key, format, whether from a file of its own; messages; status; duplicates).
py::tuple outcomeOf(const Loaded& loaded) {
    if (loaded.thrown) std::rethrow_exception(loaded.thrown);
    const cli::LoadResults& results = loaded.results;
    py::list stored;
    for (const std::int64_t key : results.stored)
        stored.append(storedOf(results, key));
    py::list messages;
    for (const cli::LoadReport& report : results.reports)
        messages.append(messageOf(results, report));
    const std::int32_t status = results.statuses.empty() ? 0 : results.statuses.back().second;
    return py::make_tuple(stored, messages, status, results.duplicates);
}

// Nothing stays in the store if an exception leaves the caller without the keys.
py::list outcomesOf(const std::vector<Loaded>& loaded) {
    py::list outcomes;
    try {
        for (const Loaded& one : loaded)
            outcomes.append(outcomeOf(one));
    } catch (...) {
        removeAll(loaded);
        throw;
    }
    return outcomes;
}

cli::InputOptions optionsOf(const std::string& file, bool isPractical, bool hasOwnKeys) {
    cli::InputOptions input;
    input.files = {file};
    input.rules = isPractical ? Rules::Practical : Rules::Fixed;
    input.keys = hasOwnKeys ? Keys::Own : Keys::Ordinary;
    return input;
}

// Each thread takes the next file, until one has failed.
std::vector<Loaded> loadAll(const std::vector<std::string>& files, unsigned threads, bool isPractical, bool hasOwnKeys,
                            cli::Console& console) {
    const Load load = [](const auto& input, auto& teller, auto& results) {
        cli::loadFiles(input, std::string(cli::kStandardOutput), teller, &results);
    };
    std::vector<Loaded> loaded(files.size());
    std::atomic<std::size_t> next = 0;
    std::atomic<std::size_t> firstFailed = files.size();
    const auto work = [&] {
        for (std::size_t i; (i = next++) < firstFailed;) {
            cli::InputOptions input = optionsOf(files[i], isPractical, hasOwnKeys);
            input.threads = files.size() == 1 ? threads : 1;
            loaded[i] = run(load, input, console);
            std::size_t first = firstFailed;
            while (loaded[i].hasFailed() && i < first && !firstFailed.compare_exchange_weak(first, i)) {
            }
        }
    };
    {
        std::vector<std::jthread> others;
        for (std::size_t i = 1; i < std::min<std::size_t>(threads, files.size()); ++i)
            others.emplace_back(work);
        work();
    }
    const auto end = loaded.begin() + static_cast<std::ptrdiff_t>(std::min(firstFailed + 1, files.size()));
    removeAll({end, loaded.end()});
    loaded.erase(end, loaded.end());
    return loaded;
}

// The outcomes of the files up to the first from which nothing was stored.
py::list loadFiles(const std::vector<std::string>& files, unsigned threads, bool isPractical, bool hasOwnKeys) {
    cli::Console console;  // asks the environment, which Python code can change
    std::vector<Loaded> loaded;
    {
        const py::gil_scoped_release release;
        loaded = loadAll(files, threads, isPractical, hasOwnKeys, console);
    }
    return outcomesOf(loaded);
}

py::tuple loadContent(const py::bytes& content, const std::string& name, unsigned threads, bool isPractical,
                      bool hasOwnKeys) {
    const std::string bytes = content;
    cli::InputOptions input = optionsOf(name, isPractical, hasOwnKeys);
    input.threads = threads;
    const Load load = [&](const auto& options, auto& teller, auto& results) {
        cli::loadBytes(bytes, name, options, teller, results);
    };
    cli::Console console;
    std::vector<Loaded> loaded(1);
    {
        const py::gil_scoped_release release;
        loaded[0] = run(load, input, console);
    }
    return outcomesOf(loaded)[0];
}

}  // namespace

void addLoading(py::module_& module) {
    module.def("load_files", &loadFiles);
    module.def("load_bytes", &loadContent);
}

}  // namespace vorlandi::python
