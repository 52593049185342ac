#pragma once

#include <QString>
#include <initializer_list>
#include <optional>

// What the commands of `trellium` do alike with the text a user types: paths and URLs.
namespace CliInput {

// "~" and "~/..." as the shell would have expanded them: a path given in quotes still means
// the home folder.
QString expandTilde(const QString& path);

// The start of a crawl or a site as typed: a URL stands as it is; anything that names a
// local path (one that exists, or starts with "/", "." or "~") becomes a file URL, a folder's
// with a final slash, since its own links are relative to the folder.
QString startFromArgument(const QString& text);

// Whether a start can be crawled: a web address, with or without "http://", whose host is
// "localhost", an IP address or a name with a dot, or a file URL. "notaurl" is none of them.
bool isStartUrl(const QString& start);

// Whether a file can be written at `path`, checked before any work is done; on failure `why`
// gets the system's reason.
bool isWritableFile(const QString& path, QString* why);

// YES, NO, true, false, 1 or 0, in any case: the words a flag takes. None for anything else.
std::optional<bool> readYesNo(const QString& text);

// A subcommand and the number of arguments it takes.
struct Subcommand {
    const char* name;
    int arguments;
};
// Why `command` with that many arguments is refused, or an empty text when it fits the table.
QString checkSubcommand(const QString& command, qsizetype arguments, std::initializer_list<Subcommand> table);

} // namespace CliInput
