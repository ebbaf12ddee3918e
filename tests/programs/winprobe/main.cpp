#include <iostream>
#include <string>

#include <windows.h>

#include "Commands.h"

namespace
{
Records Answer(const CommandTable& table, const Record& request)
{
    const auto command = table.find(request.Text("do"));
    return command != table.end() ? command->second(request) : Records{ErrorRecord(ERROR_INVALID_FUNCTION)};
}
} // namespace

int main()
{
    CommandTable table;
    AddWindowCommands(table);
    AddOwnWindowCommands(table);
    AddIconCommands(table);
    AddMemoryCommands(table);
    AddMenuCommands(table);
    AddObjectCommands(table);
    AddProcessCommands(table);
    AddThreadCommands(table);
    AddTrayCommands(table);

    for (std::string line; std::getline(std::cin, line);)
    {
        for (const Record& record : Answer(table, Record(line)))
        {
            std::cout << record.ToLine() << '\n';
        }
        std::cout << std::endl;
    }
    return 0;
}
