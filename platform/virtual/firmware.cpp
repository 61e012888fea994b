#include "platform/firmware.h"

#include "platform/virtual/faults.h"
#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

int get_board_version(void)
{
    if (auto failure = virt::fault("get_board_version"))
        return static_cast<int>(*failure);
    if (!virt::present())
        return -1;
    return static_cast<int>(virt::read_number(virt::file("firmware/board_version")).value_or(1));
}
