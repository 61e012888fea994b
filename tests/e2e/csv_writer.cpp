// csv_writer COUNT: adds COUNT rows to a result file on the card, one after the other, as a
// measuring command does.
#include "common/rova_csv.h"

#include <cstdlib>

int main(int argc, char **argv)
{
    rova_csv_handle csv = argc == 2 ? rova_csv_create("rows.csv", "value") : nullptr;
    if (csv == nullptr)
        return 1;
    for (int i = 0; i < std::atoi(argv[1]); i++)
        if (rova_csv_write(csv, "%d", i) != 1)
            return 1;
    return rova_csv_close(csv, nullptr) == 1 ? 0 : 1;
}
