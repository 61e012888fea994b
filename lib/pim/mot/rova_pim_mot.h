// The resolution test: a still's way through the stages, what its chart's pictures add up to, and
// the result file.
//
// MOT_Resol_Process and its steps run on the capture service's thread.  The getters are for the
// command thread, once the capture is done.
#pragma once

#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/rova_pim_image.h"

#include <array>
#include <cstdint>

// Measures a still of a chart and records it; `colour` is that of the markers.  A picture without
// markers or wedges counts with the chart's least values.  The last stage's result: 0, or -1 also
// for a chart that there is none of or that takes no pictures, which is reported.
int MOT_Resol_Process(const rova_pim_image &screen, const rova_pim_image &full, int32_t chart,
                      int32_t colour, rova_pim_pm_config &cfg);

// 1 pass, 0 fail, PIM_NO_RESULT none, in the record and for each chart.
struct rova_pim_mot_final {
    int32_t finalResult;
    std::array<int32_t, PIM_CHARTS> chart;
};

// The verdicts as they stand, printed.
rova_pim_mot_final GetMotFinal(const rova_pim_pm_config &cfg);

// The charts' best levels, PIM_NO_RESULT for none, printed.
std::array<int32_t, PIM_CHARTS> GetMotBestLevels(const rova_pim_pm_config &cfg);

// -- the steps, with a chart from 0 to 2

inline constexpr int32_t PIM_FOCUS = 2;  // the index of level 0
inline constexpr int PIM_FIRST_SIDE = 2; // of the windows; those before are at the centre

constexpr bool rova_pim_mot_is_chart(int32_t chart)
{
    return chart >= 0 && chart < PIM_CHARTS;
}

// The least value of a window.
constexpr int32_t rova_pim_mot_floor(const rova_pim_chart_config &config, int window)
{
    return config.ref[window < PIM_FIRST_SIDE ? 0 : 2];
}

// "WIDE", "TELE" or "MID."; "-" for another.
const char *rova_pim_mot_chart_word(int32_t chart);

// Puts the picture in hand into the chart's record and, when the chart is complete, chooses its
// best level and writes the table.  A picture over the count, or of a level that there is none of,
// is reported and dropped.
void rova_pim_mot_record(int32_t chart, rova_pim_pm_config &cfg);

// Appends the table to the result file if its charts are complete; the buffers are freed then.  Any
// chart; one that there is none of is reported, as is a file that cannot be opened.
void rova_pim_mot_write_table(int32_t chart, rova_pim_pm_config &cfg);

// QA and tilt mode: judges the picture in hand by itself and writes its row.
void rova_pim_mot_write_qa_row(int32_t chart, rova_pim_pm_config &cfg);

// Rows of QA and tilt mode since the process began.
extern int32_t rova_pim_mot_qa_rows;

// What table and rows have in common, to the result sink: the end of the title, which a kept text
// hands over to pPtpTile; a window's value.
void rova_pim_mot_end_title(const rova_pim_pm_config &cfg);
void rova_pim_mot_print_value(int32_t value, int32_t org, const rova_pim_pm_config &cfg);

// Opens the result file.  0, or -1 with a report.
int rova_pim_mot_open_result(const rova_pim_pm_config &cfg);
