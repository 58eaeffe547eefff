#include "engine/libreports.h"

#include "client/boundary.h"
#include "client/bus.h"
#include "client/reporttext.h"
#include "client/savereport.h"
#include "interface/names.h"
#include "interface/types.h"

#include <QDBusReply>

namespace
{

using namespace talo;

constexpr int kUnreachable = 201;
constexpr int kNotSaved = 207;

QString text(const std::string &value)
{
    return QString::fromStdString(value);
}

QDBusMessage ask(const char *method, const QVariantList &arguments)
{
    return client::Bus::instance().call(interface::kReports, method, arguments);
}

// The code that every method of the interface answers first, if the whole answer has its form.
int codeOf(const QDBusMessage &answer, const char *signature)
{
    if (answer.type() != QDBusMessage::ReplyMessage ||
        answer.signature() != QLatin1String(signature))
        return kUnreachable;
    return answer.arguments().at(0).toInt();
}

int listReports(std::string &list, int *count, const std::string &from, const std::string &to)
{
    const QDBusMessage answer = ask("List", {text(from), text(to)});
    const int code = codeOf(answer, "ia(ss)");
    if (code != 0)
        return code;
    std::string joined;
    int entries = 0;
    for (const auto &entry : qdbus_cast<interface::ReportList>(answer.arguments().at(1))) {
        const std::string key = entry.key.toStdString();
        if (!client::isReportKey(key))
            continue;
        joined +=
            (entries++ == 0 ? "" : ",") + key + "#" + client::listField(entry.type.toStdString());
    }
    list = joined;
    if (count != nullptr)
        *count = entries;
    return 0;
}

int readReport(const std::string &key, std::string &date, std::string &time, std::string &body,
               std::string &type)
{
    const QDBusMessage answer = ask("Read", {text(key)});
    const int code = codeOf(answer, "issss");
    if (code != 0)
        return code;
    const QVariantList values = answer.arguments();
    date = values.at(1).toString().toStdString();
    time = values.at(2).toString().toStdString();
    body = values.at(3).toString().toStdString();
    type = values.at(4).toString().toStdString();
    return 0;
}

} // namespace

int libReports::GetReportList(std::string &list, std::string from, std::string to, int *count)
{
    list.clear();
    if (count != nullptr)
        *count = 0;
    return client::guarded(kUnreachable, [&] { return listReports(list, count, from, to); });
}

int libReports::GetReportData(std::string key, std::string &date, std::string &time,
                              std::string &text, std::string &type)
{
    for (std::string *output : {&date, &time, &text, &type})
        output->clear();
    return client::guarded(kUnreachable, [&] { return readReport(key, date, time, text, type); });
}

int libReports::DeleteReport(std::string key)
{
    return client::guarded(kUnreachable, [&] { return codeOf(ask("Delete", {text(key)}), "i"); });
}

int libReports::SaveReport(std::string folderPath, std::string reportText)
{
    return client::guarded(
        kNotSaved, [&] { return client::saveReport(folderPath, reportText) ? 0 : kNotSaved; });
}
