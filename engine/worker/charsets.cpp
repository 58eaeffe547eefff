#include "charsets.h"

#include <iconv.h>
#include <initializer_list>

namespace talo::worker
{

void loadCharsets()
{
    // What is built into the C library (UTF-8, UTF-16, UCS-4, ASCII) needs no loading. Never
    // closed: an open conversion keeps its module in memory for the workers.
    for (const char *charset :
         {"ISO-8859-1", "ISO-8859-2",  "ISO-8859-5", "ISO-8859-6", "ISO-8859-7",  "ISO-8859-8",
          "ISO-8859-9", "ISO-8859-15", "CP1250",     "CP1251",     "CP1252",      "CP1253",
          "CP1254",     "CP1255",      "CP1256",     "CP1257",     "CP1258",      "KOI8-R",
          "KOI8-U",     "SHIFT_JIS",   "CP932",      "EUC-JP",     "ISO-2022-JP", "EUC-KR",
          "CP949",      "GBK",         "GB18030",    "BIG5",       "UTF-7",       "UTF-32"})
        static_cast<void>(iconv_open("UTF-8", charset));
}

} // namespace talo::worker
