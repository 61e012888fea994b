#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_csv.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"

#include <cstring>
#include <string>
#include <strings.h>

namespace
{

constexpr int OSD_ROW = 2;
constexpr std::size_t PRODUCT_NUMBER_SIZE = sizeof(adj_sys_data::PRODUCT_NUMBER);
static_assert(PRODUCT_NUMBER_SIZE == 16);

// The item as text; a number that fills it has no terminator there.
struct product_number {
    char text[PRODUCT_NUMBER_SIZE + 1];
};

bool read_product(product_number *product)
{
    const void *item = rova_get_adjdata(ADJ_ID_PRODUCT_NUMBER);
    if (item == nullptr)
        return false;
    *product = {};
    std::memcpy(product->text, item, PRODUCT_NUMBER_SIZE);
    return true;
}

bool read_sensor(int32_t *number)
{
    return rova_read_adjdata_number(ADJ_ID_CIS_SN, sizeof(*number), number);
}

// Whether the command is about this one of the numbers.
bool is_about(const cmd_data *record, const char *word)
{
    return strcasecmp(record->p[1], word) == 0;
}

// ------------------------------------------------------------------------- show

int show_product(uint32_t cmd_type)
{
    product_number product;
    if (!read_product(&product))
        return rova_cmd_ng(cmd_type);
    rova_osd_printf(OSD_ROW, "%s", product.text);
    return rova_cmd_ok(cmd_type);
}

int show_sensor(uint32_t cmd_type)
{
    int32_t number = 0;
    if (!read_sensor(&number))
        return rova_cmd_ng(cmd_type);
    rova_osd_printf(OSD_ROW, "%d", number);
    return rova_cmd_ok(cmd_type);
}

int rova_cmd_serial_number_show(uint32_t cmd_type, cmd_data *record)
{
    if (is_about(record, "product"))
        return show_product(cmd_type);
    if (is_about(record, "cis"))
        return show_sensor(cmd_type);
    ROVA_LOG_ERR("show not found command\n");
    return rova_cmd_ng(cmd_type);
}

// ------------------------------------------------------------------------- set

// A number that is refused or cannot be saved is not answered: to the dispatcher the command is
// unknown then, and the PC waits in vain.
int set_product(uint32_t cmd_type, const char *text)
{
    std::size_t length = std::strlen(text);
    if (length > PRODUCT_NUMBER_SIZE) {
        ROVA_LOG_ERR("serial_number length must be equal or less than 16. length=%d\n",
                     static_cast<int>(length));
        return 0;
    }
    char item[PRODUCT_NUMBER_SIZE] = {};
    std::memcpy(item, text, length);
    if (rova_set_adjdata(ADJ_ID_PRODUCT_NUMBER, item, sizeof(item), 1) == 0) {
        // Names another item than the one written; who reads the logs knows it by this text.
        ROVA_LOG_ERR("failed to rova_set_adjdata() ADJ_ID_WIFI_SERIAL_NUM\n");
        return 0;
    }
    return rova_cmd_ok(cmd_type);
}

int set_sensor(uint32_t cmd_type, const char *text)
{
    int32_t number = rova_cmd_number(text);
    if (rova_set_adjdata(ADJ_ID_CIS_SN, &number, sizeof(number), 1) == 0) {
        ROVA_LOG_ERR("failed to rova_set_adjdata() ADJ_ID_CIS_SN\n");
        return 0;
    }
    return rova_cmd_ok(cmd_type);
}

int rova_cmd_serial_number_set(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    if (is_about(record, "product"))
        return set_product(cmd_type, record->p[2]);
    if (is_about(record, "cis"))
        return set_sensor(cmd_type, record->p[2]);
    ROVA_LOG_ERR("set not found command\n");
    return rova_cmd_ng(cmd_type);
}

// ------------------------------------------------------------------------- get

int rova_cmd_serial_number_get(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 1)
        return rova_cmd_ng(cmd_type);
    if (is_about(record, "cis"))
        return rova_cmd_ipcc_exec(cmd_type, record);
    ROVA_LOG_ERR("%s not found command \n", record->p[1]);
    return rova_cmd_ng(cmd_type);
}

// ------------------------------------------------------------------------- log_file

// Answers with a file that has gained this row.  A file that cannot be written leaves the stream
// empty, and costs only the row.
int answer_with_row(uint32_t cmd_type, bool ok, const char *file, const char *header,
                    const std::string &row)
{
    rova_resp_stream stream = {};
    rova_csv_handle csv = rova_csv_create(file, header);
    rova_csv_write(csv, "%s", row.c_str());
    rova_csv_close(csv, &stream);
    return rova_cmd_answer(cmd_type, ok, &stream);
}

int log_product(uint32_t cmd_type)
{
    product_number product;
    if (!read_product(&product))
        return rova_cmd_ng(cmd_type);
    return answer_with_row(cmd_type, true, "serial_num.csv", "SERIAL_NO", product.text);
}

int log_sensor(uint32_t cmd_type)
{
    int32_t number = 0;
    if (!read_sensor(&number))
        return rova_cmd_ng(cmd_type);
    return answer_with_row(cmd_type, true, "cis_num.csv", "CIS_NO", std::to_string(number));
}

int rova_cmd_serial_number_log_file(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 1)
        return rova_cmd_ng(cmd_type);
    if (is_about(record, "product"))
        return log_product(cmd_type);
    if (is_about(record, "cis"))
        return log_sensor(cmd_type);
    ROVA_LOG_ERR("logfile not found command \n");
    return rova_cmd_ng(cmd_type);
}

// ------------------------------------------------------------------------- check

int check_product(uint32_t cmd_type, const char *expected)
{
    product_number product;
    if (!read_product(&product))
        return rova_cmd_ng(cmd_type);
    bool same = strcasecmp(expected, product.text) == 0;
    std::string row = std::string(product.text) + "," + expected + (same ? ",OK" : ",NG");
    return answer_with_row(cmd_type, same, "serial_check.csv", "SET  S/N, SCRIPT S/N, Result", row);
}

int rova_cmd_serial_number_check(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    if (is_about(record, "product"))
        return check_product(cmd_type, record->p[2]);
    ROVA_LOG_ERR("check not found command \n");
    return rova_cmd_ng(cmd_type);
}

constexpr rova_cmd_entry serial_number_table[] = {
    // clang-format off
    {"show",     rova_cmd_serial_number_show},
    {"set",      rova_cmd_serial_number_set},
    {"get",      rova_cmd_serial_number_get},
    {"log_file", rova_cmd_serial_number_log_file},
    {"check",    rova_cmd_serial_number_check},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(serial_number_table));

} // namespace

int rova_cmd_serial_number(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(serial_number_table, "serial_number", cmd_type, record);
}
