// The factory-mode daemon.
#include "core/rova_main.h"

int main(int argc, char **argv)
{
    return rova_main(argc, argv);
}
