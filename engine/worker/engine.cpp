#include "engine.h"

#include "layers.h"
#include "outcome.h"

#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::worker
{

namespace
{

using scan::protocol::Outcome;

std::string lastComplaint;

// libclamav's return codes for a refused signature say little; the line and the reason come here.
// Scanning is kept silent: a hostile file must not write the log.
void keepComplaint(cl_msg severity, const char *, const char *message, void *)
{
    if (severity != CL_MSG_ERROR || !message)
        return;
    lastComplaint = message;
    while (!lastComplaint.empty() && lastComplaint.back() == '\n')
        lastComplaint.pop_back();
}

std::string failure(cl_error_t code)
{
    std::string text = cl_strerror(code);
    if (!lastComplaint.empty())
        text += " (" + lastComplaint + ")";
    return text;
}

// Two looks at a file that differ mean that nothing can be said of either content.
bool sameContent(const struct stat &a, const struct stat &b)
{
    const auto same = [](const timespec &x, const timespec &y) {
        return x.tv_sec == y.tv_sec && x.tv_nsec == y.tv_nsec;
    };
    return a.st_size == b.st_size && same(a.st_mtim, b.st_mtim) && same(a.st_ctim, b.st_ctim);
}

} // namespace

std::string Engine::prepare()
{
    cl_set_clcb_msg(keepComplaint);
    const cl_error_t code = cl_init(CL_INIT_DEFAULT);
    if (code != CL_SUCCESS)
        return failure(code);
    engine_ = cl_engine_new();
    return engine_ ? std::string() : "not enough memory";
}

std::string Engine::load(std::uint64_t maxFileSize, std::uint64_t maxScanSize)
{
    maxFileSize_ = maxFileSize;
    const struct {
        cl_engine_field field;
        long long value;
    } settings[] = {
        // The interpreter needs no memory that is both writable and executable.
        {CL_ENGINE_BYTECODE_MODE, CL_BYTECODE_MODE_INTERPRETER},
        // A scan cut short by libclamav's own clock is reported as clean. The pool keeps the time.
        {CL_ENGINE_MAX_SCANTIME, 0},
        {CL_ENGINE_MAX_FILESIZE, static_cast<long long>(maxFileSize)},
        {CL_ENGINE_MAX_SCANSIZE, static_cast<long long>(maxScanSize)},
        {CL_ENGINE_MAX_FILES, 100000},
        {CL_ENGINE_DISABLE_PE_STATS, 1},
    };
    for (const auto &setting : settings) {
        const cl_error_t code = cl_engine_set_num(engine_, setting.field, setting.value);
        if (code != CL_SUCCESS)
            return failure(code);
    }
    cl_error_t code = cl_load(".", engine_, &signatures_, CL_DB_STDOPT);
    if (code != CL_SUCCESS)
        return failure(code);
    if (signatures_ == 0)
        return "the folder holds no signatures";
    code = cl_engine_compile(engine_);
    if (code != CL_SUCCESS)
        return failure(code);
    // Every worker's current folder is its own temporary folder.
    code = cl_engine_set_str(engine_, CL_ENGINE_TMPDIR, ".");
    return code == CL_SUCCESS ? std::string() : failure(code);
}

Judgement Engine::judge(int fd, std::uint64_t size, std::uint32_t options)
{
    struct stat before {
    };
    if (fstat(fd, &before) != 0)
        return {Outcome::Error, std::strerror(errno)};
    if (!S_ISREG(before.st_mode))
        return {Outcome::Error, "not a regular file"};
    if (static_cast<std::uint64_t>(before.st_size) != size)
        return {Outcome::Skipped, "changed while being scanned"};
    // The offset is shared with whoever else holds the descriptor.
    if (lseek(fd, 0, SEEK_SET) != 0)
        return {Outcome::Error, std::strerror(errno)};

    Judgement judgement = scanContent(fd, options);

    struct stat after {
    };
    if (judgement.outcome == Outcome::Clean &&
        (fstat(fd, &after) != 0 || !sameContent(before, after)))
        return {Outcome::Skipped, "changed while being scanned"};
    return judgement;
}

Judgement Engine::scanContent(int fd, std::uint32_t options)
{
    cl_scan_options how{};
    how.general = CL_SCAN_GENERAL_HEURISTICS;
    how.parse = CL_SCAN_PARSE_ELF | CL_SCAN_PARSE_PDF | CL_SCAN_PARSE_SWF | CL_SCAN_PARSE_HWP3 |
                CL_SCAN_PARSE_XMLDOCS | CL_SCAN_PARSE_MAIL | CL_SCAN_PARSE_OLE2 |
                CL_SCAN_PARSE_HTML | CL_SCAN_PARSE_PE | CL_SCAN_PARSE_ONENOTE |
                CL_SCAN_PARSE_IMAGE | CL_SCAN_PARSE_IMAGE_FUZZY_HASH;
    if (options & scan::protocol::kLookIntoArchives)
        how.parse |= CL_SCAN_PARSE_ARCHIVE;
    // Without these, what was not looked at is reported as clean. A signature that matches
    // elsewhere in the file still takes precedence over them.
    how.heuristic = CL_SCAN_HEURISTIC_EXCEEDS_MAX | CL_SCAN_HEURISTIC_ENCRYPTED_ARCHIVE |
                    CL_SCAN_HEURISTIC_ENCRYPTED_DOC;

    // libclamav remembers clean content whatever options it was scanned with. What has been found
    // clean with less than everything must not be remembered.
    Layers layers(engine_, maxFileSize_,
                  options & scan::protocol::kUnpackExecutables ? Packed::Unpack
                                                               : Packed::LeaveAlone,
                  options == scan::protocol::kAllOptions ? Cache::Use : Cache::Bypass);
    const char *name = nullptr;
    unsigned long scanned = 0;
    const cl_error_t code =
        cl_scandesc_callback(fd, nullptr, &name, &scanned, engine_, &how, &layers);
    return outcome(code, name, layers.unseen());
}

} // namespace talo::worker
