// The command lines of a collection, as tables.
//
// A row is run when all its conditions hold. {names} in braces stand for
// values of the machine (see Values). Blanks count: the rows are what support
// compares the logs with.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zuplutil {

// Conditions of a row, as bits.
enum When : unsigned {
    kAlways = 0,
    kVista = 1,
    kBeforeVista = 2,
    k64Bit = 4,
    k32Bit = 8,
    kExtended = 16,
};

struct CommandRow {
    unsigned when;
    std::string_view command;
};

// What {name} stands for.
struct NamedValue {
    std::string_view name;
    std::string value;
};
using Values = std::vector<NamedValue>;

using CommandTable = std::vector<CommandRow>;

// Exports and queries of the registry.
extern const CommandTable kRegistryCommands;
// Listings of directories: {systemDrive}, {userName}, {addinDataDir}.
extern const CommandTable kDirectoryCommands;
// The system's event logs, since Vista.
extern const CommandTable kEventCommands;
// Arguments of the permission tool for one registry hive: {root} is the key,
// {hive} its name in the logs.
extern const CommandTable kRegistryPermissionArguments;
// Arguments of the permission tool for the program folders: {programFiles},
// {programFiles64}.
extern const CommandTable kDirectoryPermissionArguments;
// Arguments of the configuration analyzer.
extern const CommandTable kOcatArguments;

// Whether a row applies to a machine and mode that have these bits.
bool applies(const CommandRow& row, unsigned present);

// The command with its names replaced. A name without a value stays.
std::string expand(std::string_view command, const Values& values);

}  // namespace zuplutil
