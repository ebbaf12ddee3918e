#pragma once

#include <functional>
#include <map>
#include <string>

#include "Record.h"

// winprobe looks at the desktop from outside for the end-to-end tests. It reads one request a line and
// answers each with its records and an empty line:
//
//     do=property<tab>window=65678<tab>name=...   ->   error=0<tab>value=1
//
// No command waits, but for "send" up to its "limit" in milliseconds. The program ends with its input, and
// what it holds open ends with it.
using Command = std::function<Records(const Record& request)>;
using CommandTable = std::map<std::wstring, Command>;

void AddWindowCommands(CommandTable& table);
void AddOwnWindowCommands(CommandTable& table);
void AddIconCommands(CommandTable& table);
void AddMemoryCommands(CommandTable& table);
void AddMenuCommands(CommandTable& table);
void AddObjectCommands(CommandTable& table);
void AddProcessCommands(CommandTable& table);
void AddThreadCommands(CommandTable& table);
void AddTrayCommands(CommandTable& table);
