#include "lib/pim/movie/rova_pim_movie_test.h"
#include "lib/pim/rova_pim_debug.h"

namespace
{

float kilohertz(int32_t hertz)
{
    return static_cast<float>(hertz) / 1000.0F;
}

// False also for what is no number.
bool lies_in(float value, float least, float most)
{
    return value >= least && value <= most;
}

bool passes(const rova_pim_audio_record &sound, const rova_pim_movie_config &cfg)
{
    return lies_in(sound.leftFreq, cfg.freqMin, cfg.freqMax) &&
           lies_in(sound.rightFreq, cfg.freqMin, cfg.freqMax) &&
           lies_in(sound.leftDbfs, cfg.dbfsMin, cfg.dbfsMax) &&
           lies_in(sound.rightDbfs, cfg.dbfsMin, cfg.dbfsMax);
}

void print_failure(const char *name, const rova_pim_audio_record &sound,
                   const rova_pim_movie_config &cfg)
{
    rova_pim_print("%s %d: actual freqL %f kHz, freqMin %f kHz, freqMax %f kHz\n", name, __LINE__,
                   sound.leftFreq, cfg.freqMin, cfg.freqMax);
    rova_pim_print("%s %d: actual freqR %f kHz, freqMin %f kHz, freqMax %f kHz\n", name, __LINE__,
                   sound.rightFreq, cfg.freqMin, cfg.freqMax);
    rova_pim_print("%s %d: actual dbfsL %f db, dbfsMin %f db, dbfsMax %f db\n", name, __LINE__,
                   sound.leftDbfs, cfg.dbfsMin, cfg.dbfsMax);
    rova_pim_print("%s %d: actual dbfsR %f db, dbfsMin %f db, dbfsMax %f db\n", name, __LINE__,
                   sound.rightDbfs, cfg.dbfsMin, cfg.dbfsMax);
}

void append(const rova_pim_audio_record &sound, rova_pim_movie_config &cfg)
{
    if (cfg.audioCount < PIM_MOVIE_FRAMES)
        cfg.audio[cfg.audioCount] = sound;
    else
        rova_pim_report(" audio %d counts without a record: there are %d \n", cfg.audioCount,
                        PIM_MOVIE_FRAMES);
    cfg.audioCount++;
    cfg.audioOk += sound.result;
    cfg.audioResult = cfg.audioOk == cfg.audioCount ? 1 : 0;
}

} // namespace

int checkAudio(const rova_pim_aframe_info &info)
{
    const auto lock = rova_pim_lock_records();
    rova_pim_movie_config &cfg = cfgMovie;
    rova_pim_audio_record sound = {.index = cfg.audioCount,
                                   .result = 0,
                                   .leftFreq = kilohertz(info.left_frequency),
                                   .leftDbfs = info.left_loudness,
                                   .rightFreq = kilohertz(info.right_frequency),
                                   .rightDbfs = info.right_loudness};
    sound.result = passes(sound, cfg) ? 1 : 0;
    append(sound, cfg);
    if (sound.result == 0)
        print_failure(__func__, sound, cfg);
    return sound.result;
}
