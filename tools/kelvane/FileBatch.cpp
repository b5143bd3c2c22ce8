// SPDX-License-Identifier: Apache-2.0
#include "FileBatch.h"

#include "Interruption.h"
#include "JsonText.h"
#include "SideBySide.h"
#include "Text.h"

#include <mutex>
#include <sys/stat.h>

namespace kelvane::tool {
namespace {

struct Outcome {
    bool isReady = false;
    std::string output;
    std::string error; // "" for success
};

std::int64_t sizeOf(const std::string &path)
{
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : 0;
}

class BatchRun {
public:
    explicit BatchRun(const FileBatch &batch) : _batch(batch), _progress(batch.output), _outcomes(batch.files.size()) {}

    ExitCode run()
    {
        std::uint64_t bytes = 0;
        for (const std::string &path : _batch.files)
            bytes += static_cast<std::uint64_t>(sizeOf(path));
        _progress.plan(_batch.files.size(), bytes);
        runSideBySide(_batch.files.size(), _batch.jobs, _progress, [this](std::size_t i) { workOn(i); });
        _progress.finish();
        if (Interruption::isRequested())
            return ExitInterrupted;
        return _hasFailures ? ExitSomeFailed : ExitDone;
    }

private:
    void workOn(std::size_t i)
    {
        const std::string &path = _batch.files[i];
        const std::int64_t size = sizeOf(path);
        _progress.start(path, size);
        Outcome outcome{true, {}, {}};
        try {
            outcome.output = _batch.work(path);
        } catch (const std::exception &error) {
            outcome.error = error.what();
        }
        _progress.settle(path, size);
        const std::lock_guard guard(_mutex);
        _outcomes[i] = std::move(outcome);
        for (; _shown < _outcomes.size() && _outcomes[_shown].isReady; ++_shown)
            show(_batch.files[_shown], _outcomes[_shown]);
    }

    // Called under the lock.
    void show(const std::string &path, Outcome &outcome)
    {
        if (!outcome.error.empty()) {
            _hasFailures = true;
            if (_batch.output.isJson)
                outcome.output = jsonLine({{"path", jsonText(path)}, {"error", jsonText(outcome.error)}});
            _progress.printError(_batch.failure + ' ' + inQuotes(path) + ": " + outcome.error);
        }
        if (!outcome.output.empty())
            _progress.print(outcome.output);
        outcome.output.clear();
    }

    const FileBatch &_batch;
    WorkProgress _progress;
    std::mutex _mutex;
    std::vector<Outcome> _outcomes; // guarded by _mutex, as the rest is
    std::size_t _shown = 0;
    bool _hasFailures = false;
};

} // namespace

ExitCode runFileBatch(const FileBatch &batch)
{
    return BatchRun(batch).run();
}

} // namespace kelvane::tool
