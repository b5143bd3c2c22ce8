// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/detail/SqliteStatement.h>

#include <kelvane/foundation/Value.h>

#include <limits>
#include <sqlite3.h>

namespace kelvane::detail {

namespace {

/// Whether SQLite finds a further statement in `rest`, and not only blanks and comments.
bool holdsStatement(sqlite3 *connection, std::string_view rest)
{
    if (rest.find_first_not_of(" \t\r\n\f;") == std::string_view::npos)
        return false;
    sqlite3_stmt *next = nullptr;
    const int code = sqlite3_prepare_v2(connection, rest.data(), static_cast<int>(rest.size()), &next, nullptr);
    sqlite3_finalize(next);
    return code != SQLITE_OK || next;
}

int bindText(sqlite3_stmt *handle, int index, std::string_view text, sqlite3_destructor_type lifetime)
{
    return sqlite3_bind_text64(handle, index, text.data(), text.size(), lifetime, SQLITE_UTF8);
}

/// Binds one value by its kind. `value` outlives the binding.
int bindValue(sqlite3_stmt *handle, int index, const Value &value)
{
    switch (value.kind()) {
    case Value::Kind::Nil:
    case Value::Kind::Null:
        return sqlite3_bind_null(handle, index);
    case Value::Kind::Bool:
        return sqlite3_bind_int(handle, index, *value.getIf<bool>() ? 1 : 0);
    case Value::Kind::Int64:
        return sqlite3_bind_int64(handle, index, *value.getIf<std::int64_t>());
    case Value::Kind::UInt64:
        // Intended: above the largest signed number the 64 bits are kept and the column shows a negative number.
        // Device databases store their unsigned persistent identifiers so, and a cast gives them back.
        return sqlite3_bind_int64(handle, index, static_cast<std::int64_t>(*value.getIf<std::uint64_t>()));
    case Value::Kind::Double:
        return sqlite3_bind_double(handle, index, *value.getIf<double>());
    case Value::Kind::Date:
        return sqlite3_bind_double(handle, index, value.getIf<Date>()->secondsSince1970());
    case Value::Kind::String:
        return bindText(handle, index, value.getIf<String>()->view(), SQLITE_STATIC);
    case Value::Kind::Data: {
        // The pointer is never null, so that empty data stays an empty blob and does not become NULL.
        const auto bytes = value.getIf<Data>()->view();
        return sqlite3_bind_blob64(handle, index, bytes.data(), bytes.size(), SQLITE_STATIC);
    }
    default:
        return bindText(handle, index, value.description().view(), SQLITE_TRANSIENT);
    }
}

} // namespace

SqliteStatement::SqliteStatement(sqlite3 *connection, std::string_view sql) : _sql(sql)
{
    // A NUL would end the text for SQLite, and what follows would be lost without a word.
    if (_sql.view().find('\0') != std::string_view::npos) {
        _problem = "the SQL text holds a NUL character";
        return;
    }
    if (_sql.size() >= static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        _problem = "the SQL text is too long";
        return;
    }
    const char *rest = nullptr;
    // The size counts the NUL: SQLite then reads the text in place.
    const int size = static_cast<int>(_sql.size()) + 1;
    const int code = sqlite3_prepare_v3(connection, _sql.c_str(), size, SQLITE_PREPARE_PERSISTENT, &_handle, &rest);
    if (code != SQLITE_OK)
        return;
    if (!_handle) {
        _problem = "the SQL text holds no statement";
    } else if (holdsStatement(connection, _sql.view().substr(static_cast<std::size_t>(rest - _sql.c_str())))) {
        finalize();
        _problem = "the SQL text holds more than one statement";
    }
}

void SqliteStatement::giveBack() noexcept
{
    if (_handle) {
        sqlite3_reset(_handle);
        if (!_arguments.isEmpty())
            sqlite3_clear_bindings(_handle);
    }
    _arguments = nullptr;
    _isLent = false;
}

void SqliteStatement::finalize() noexcept
{
    sqlite3_finalize(_handle);
    _handle = nullptr;
}

int SqliteStatement::bind(const Array &arguments)
{
    const int count = sqlite3_bind_parameter_count(_handle);
    if (static_cast<std::size_t>(count) > arguments.size())
        return SQLITE_RANGE;
    _arguments = arguments;
    for (int i = 0; i < count; ++i) {
        const int code = bindValue(_handle, i + 1, _arguments[static_cast<std::size_t>(i)]);
        if (code != SQLITE_OK)
            return code;
    }
    return SQLITE_OK;
}

int SqliteStatement::step() noexcept
{
    return _handle ? sqlite3_step(_handle) : SQLITE_MISUSE;
}

} // namespace kelvane::detail
