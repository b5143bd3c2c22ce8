// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileCopySession_p.h>

#include <cerrno>

namespace kelvane {

FileCopySession::FileCopySession(
    const String &fromPath, const String &toPath, FileCopyState *state, std::uint32_t flags)
    : from(fromPath.view()),
      to(toPath.view()),
      _flags(flags),
      _state(state ? state : &_ownState)
{
    _state->_failedCount = 0;
    _state->_failures.clear();
    _state->_xattrName = nullptr;
}

CopyStep FileCopySession::tell(int what, int stage, int reason)
{
    if (!_state->_callback)
        return CopyStep::Done;
    errno = reason;
    switch (_state->_callback(what, stage, _state, from.c_str(), to.c_str(), _state->_context)) {
    case COPYFILE_CONTINUE:
        return CopyStep::Done;
    case COPYFILE_SKIP:
        return CopyStep::Skipped;
    default:
        error = ECANCELED;
        return CopyStep::Stop;
    }
}

CopyStep FileCopySession::tellError(int what, int reason)
{
    error = reason;
    return _state->_callback ? tell(what, COPYFILE_ERR, reason) : CopyStep::Stop;
}

void FileCopySession::countFailure(int what, int reason)
{
    const String path(from);
    if (!_state->_failures.empty() && _state->_failures.back().path == path)
        _state->_failures.back() = {path, what, reason};
    else {
        ++_state->_failedCount;
        if (_state->_failures.size() < FileCopyState::failureLimit)
            _state->_failures.push_back({path, what, reason});
    }
}

CopyStep FileCopySession::reportFailure(int what, int reason)
{
    countFailure(what, reason);
    const CopyStep answer = tellError(what, reason);
    return answer == CopyStep::Skipped ? CopyStep::Done : answer;
}

CopyStep FileCopySession::finishEntry(int what, CopyStep step)
{
    switch (step) {
    case CopyStep::Done:
        return tell(what, COPYFILE_FINISH) == CopyStep::Stop ? CopyStep::Stop : CopyStep::Done;
    case CopyStep::Failed: {
        const int reason = error;
        if (reportFailure(what, reason) == CopyStep::Stop)
            return CopyStep::Stop;
        return fail(reason);
    }
    default:
        return step;
    }
}

char *FileCopySession::buffer()
{
    if (!_buffer)
        _buffer.reset(new char[bufferSize]);
    return _buffer.get();
}

CopyPathStep::CopyPathStep(FileCopySession &session, const char *name)
    : _session(session),
      _fromSize(session.from.size()),
      _toSize(session.to.size())
{
    session.from.append(1, '/').append(name);
    session.to.append(1, '/').append(name);
}

CopyPathStep::~CopyPathStep()
{
    _session.from.resize(_fromSize);
    _session.to.resize(_toSize);
}

} // namespace kelvane
