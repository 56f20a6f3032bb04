// SPDX-License-Identifier: GPL-2.0-or-later
//
// Connecting to a PostgreSQL server the way the catalogues need it.
#include "platform/db/postgresql_module/connection.h"

#include <string.h>

#include <iterator>

namespace {

// A server that does not answer within seconds counts as away; the run goes on without it and comes back. A
// peer that has vanished without a word (a power cut) is noticed within a minute, not after the kernel's two
// hours. A setting in the URI goes before these, since it comes later.
struct Setting {
    const char *name;
    const char *value;
};
constexpr Setting kDefaults[] = {
    {"connect_timeout", "10"}, {"keepalives_idle", "30"},     {"keepalives_interval", "10"},
    {"keepalives_count", "3"}, {"tcp_user_timeout", "60000"}, {"fallback_application_name", "veluindexd"},
};

// What a transaction needs, for its own time. Nothing in a literal but the quote is special. A lock is waited for as long
// as SQLite's, unless somebody has set that. Commits do not wait for the disk: VELUDBSync does, once for all of them, and a
// server that has lost some has broken the connection by then. A pooler's connection does not break when a server behind
// it does; it has made up the process that it names, so that there each commit waits.
//
// Reading a file may take minutes, in which a transaction or the session stands still. A limit on that, which would end the
// connection at the same file each time, is put up to what no file takes, for a session that is all ours for its life.
std::string SettingsOf(const PGconn *server) {
    const std::string ours = std::to_string(PQbackendPID(server));
    return "select set_config('standard_conforming_strings', 'on', true), "
           "set_config('extra_float_digits', '1', true), "
           "set_config('client_min_messages', 'warning', true), " // for NoticeTake
           "set_config('lock_timeout', case current_setting('lock_timeout') when '0' then '10000' "
           "else current_setting('lock_timeout') end, true), "
           "set_config('synchronous_commit', case when pg_backend_pid() = " +
           ours +
           " then 'off' when current_setting('synchronous_commit') = 'off' then 'on' "
           "else current_setting('synchronous_commit') end, true), "
           "set_config('idle_in_transaction_session_timeout', "
           "case current_setting('idle_in_transaction_session_timeout') when '0' then '0' else '600000' end, "
           "true), "
           "set_config('idle_session_timeout', '0', pg_backend_pid() <> " +
           ours + " or current_setting('idle_session_timeout') = '0')";
}

// The server's function that tells of a wait which was broken off: its words are in the server's language, and have no code
// of their own.
constexpr char kWaitForStandby[] = "SyncRepWaitForLSN";

void NoticeTake(void *connection, const PGresult *notice) {
    const char *function = PQresultErrorField(notice, PG_DIAG_SOURCE_FUNCTION);
    if (function != nullptr && strcmp(function, kWaitForStandby) == 0)
        static_cast<PgConnection *>(connection)->not_followed = true;
}

// The library's words about a URI may quote it, with the password in it.
std::string WithoutUri(std::string words, const char *uri) {
    for (size_t at = words.find(uri); at != std::string::npos; at = words.find(uri, at))
        words.replace(at, strlen(uri), "...");
    return words;
}

// Returns the reason why libpq does not take a URI, or an empty text.
std::string UriProblem(const char *uri) {
    char *words = nullptr;
    PQconninfoOption *options = PQconninfoParse(uri, &words);
    std::string problem;
    if (options == nullptr)
        problem = words != nullptr ? WithoutUri(PgOneLine(words), uri) : "out of memory";
    PQconninfoFree(options);
    PQfreemem(words);
    return problem;
}

PGconn *Connect(const char *uri) {
    constexpr size_t kCount = std::size(kDefaults);
    const char *names[kCount + 3] = {};
    const char *values[kCount + 3] = {};
    for (size_t i = 0; i < kCount; ++i) {
        names[i] = kDefaults[i].name;
        values[i] = kDefaults[i].value;
    }
    names[kCount] = "dbname"; // libpq takes a whole URI here
    values[kCount] = uri;
    names[kCount + 1] = "client_encoding";
    values[kCount + 1] = "SQL_ASCII";
    constexpr int kExpandUri = 1;
    return PQconnectdbParams(names, values, kExpandUri);
}

// Returns what is wrong with a connection that was made, or an empty text.
std::string EncodingProblem(const PGconn *server) {
    // Any other encoding refuses the paths that are not valid in it, and compares and counts characters.
    const char *encoding = PQparameterStatus(server, "server_encoding");
    if (encoding == nullptr || strcmp(encoding, "SQL_ASCII") != 0)
        return std::string("the database has encoding ") + (encoding != nullptr ? encoding : "(unknown)") +
               ", but paths are bytes: it must be created with encoding SQL_ASCII";
    return {};
}

} // namespace

void *PgOpen(const char *uri, std::string *error) {
    *error = UriProblem(uri);
    if (!error->empty())
        return nullptr;
    auto connection = std::make_unique<PgConnection>();
    connection->server.reset(Connect(uri));
    PGconn *server = connection->server.get();
    if (PQstatus(server) != CONNECTION_OK) {
        *error = server != nullptr ? PgOneLine(PQerrorMessage(server)) : "out of memory";
        return nullptr;
    }
    PQsetNoticeReceiver(server, NoticeTake, connection.get());
    connection->settings = SettingsOf(server);
    *error = EncodingProblem(server);
    return error->empty() ? connection.release() : nullptr;
}
