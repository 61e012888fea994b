// Prints the first words of all commands, in the order of the search: table, tab, word.
#include "command/rova_cmd_handler.h"

#include <cstdio>

int main()
{
    for (const rova_cmd_named_table &table : rova_cmd_tables())
        for (const rova_cmd_entry &row : table.rows)
            std::printf("%s\t%s\n", table.name, row.name);
}
