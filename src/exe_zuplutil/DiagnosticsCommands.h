// What a collection runs, as data: sections of command lines.
//
// A section or a row is taken when all its conditions hold. {names} in braces
// stand for values of the machine (see Values). Blanks count: the rows are what
// support compares the logs with.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zuplutil {

// Conditions, as bits.
enum When : unsigned {
    kAlways = 0,
    kVista = 1,
    kBeforeVista = 2,
    k64Bit = 4,
    k32Bit = 8,
    kExtended = 0x10,
    // The add-in's files that are there.
    kDebugConfig = 0x20,
    kDebugLog = 0x40,
    kDumpLog = 0x80,
    // The permission tool was found, or not; the analyzer is asked for, and found or not.
    kPermissionTool = 0x100,
    kNoPermissionTool = 0x200,
    kWithOcat = 0x400,
    kOcat = 0x800,
    kNoOcat = 0x1000,
};

struct CommandRow {
    unsigned when;
    std::string_view command;
};
using CommandTable = std::vector<CommandRow>;

// What {name} stands for.
using Values = std::map<std::string_view, std::string>;

struct Section {
    unsigned when;
    // A line, told before the rows run; none when null.
    const char* announcement;
    CommandTable rows = {};
    // Stands before each row.
    std::string_view program = {};
    // The section's own, beside those of the machine.
    Values values = {};
    // Whether the announcement is in the transcript, too.
    bool recorded = true;
};

// The add-in's files, before the add-in is probed.
extern const Section kCopies;
// Everything from the probe to the packing, in order. Names that need a value:
// {systemDrive}, {userName}, {addinDataDir}, {programFiles}, {programFiles64},
// and the found tools' {permissionTool} and {ocatDir}.
extern const std::vector<Section> kSections;

// Whether conditions hold for a machine and mode that have these bits.
bool applies(unsigned when, unsigned present);

// A text with its names replaced, by the first of the values that has the name.
// Fails an assertion for a name without a value.
std::string expand(std::string_view text, const Values& values, const Values& more = {});

}  // namespace zuplutil
