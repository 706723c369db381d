// nvtool cddb: the commands of a CDDB server. What needs no server is in CddbLocal.cpp.
#include "Cddb.h"

#include "Commands.h"
#include "Discs.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>

namespace nvtool {
using nlohmann::ordered_json;

namespace {

struct CddbArguments {
    std::string server, path, proxy, proxyUser, proxyPassword;
    bool https = false, verify = false, json = false;
    u32 timeout = 2000;
    Encoding encoding = Encoding::automatic;
    DiscOptions disc;
    std::string category, discId, record, email, note;
    bool send = false;
};

// "host" or "host:port".
void SplitHost(const std::string& text, CString& host, i32& port)
{
    const size_t colon = text.rfind(':');
    host = text.substr(0, colon).c_str();
    if (colon == std::string::npos)
        return;
    char extra = 0;
    if (std::sscanf(text.c_str() + colon + 1, "%5d%c", &port, &extra) != 1 || port < 1 || port > 65535)
        throw CLI::ValidationError("'" + text + "': the port is no number from 1 to 65535");
}

// A client and a site as the options have them. Over HTTPS the port is a part of the host.
class Session {
public:
    explicit Session(const CddbArguments& given, CCDDBSite::Purpose purpose = CCDDBSite::retrieval)
        : site(purpose), options(given)
    {
        client.SetTimeout(options.timeout);
        client.SetProductName("nvtool");
        client.SetProductVersion(NVTOOL_VERSION);
        CCDDB::c_bVerifyCertificates = options.verify;
        if (options.https)
            site.host = options.server.c_str();
        else
            SplitHost(options.server, site.host, site.port);
        if (!options.path.empty())
            site.path = options.path.c_str();
        CString proxy;
        i32 port = 80;
        if (!options.proxy.empty())
            SplitHost(options.proxy, proxy, port);
        client.SetProxyDetails(proxy, port);
        client.SetProxyUser(options.proxyUser.c_str());
        client.SetProxyPassword(options.proxyPassword.c_str());
    }

    // Throws Error with what the client says.
    void Demand(int success) const
    {
        if (success)
            return;
        CString message = client.GetErrorMessage();
        message.Trim();
        throw Error(options.server, message.IsEmpty() ? "did not answer as a CDDB server does" : message.GetString());
    }

    CCDDB client;
    CCDDBSite site;

private:
    const CddbArguments& options;
};

std::string Text(const CString& text, const CddbArguments& options)
{
    return Readable({text.GetString(), size_t(text.GetLength())}, options.encoding);
}

void Query(const CddbArguments& options)
{
    Session session(options);
    const std::vector<Disc> discs = ReadDiscs(options.disc);
    ordered_json json = ordered_json::array();
    for (const Disc& disc : discs) {
        std::vector<CCDDBQueryResult> matches;
        session.Demand(options.https ? session.client.QueryHTTP(session.site, disc.id, disc.positions, matches)
                                     : session.client.Query(session.site, disc.id, disc.positions, matches));
        ordered_json found = ordered_json::array();
        for (const CCDDBQueryResult& match : matches) {
            found.push_back({{"category", Text(match.category, options)},
                             {"discId", DiscIdText(match.discId)},
                             {"artist", Text(match.artist, options)},
                             {"title", Text(match.title, options)}});
            if (!options.json)
                std::printf("%s %s %s / %s\n", Text(match.category, options).c_str(), DiscIdText(match.discId).c_str(),
                            Text(match.artist, options).c_str(), Text(match.title, options).c_str());
        }
        if (matches.empty() && !options.json)
            std::printf("%s: no match for %s\n", disc.name.c_str(), DiscIdText(disc.id).c_str());
        json.push_back({{"disc", DiscJson(disc)}, {"matches", found}});
    }
    if (options.json)
        PrintJson(json);
}

void Read(const CddbArguments& options)
{
    u32 id = 0;
    if (!ParseDiscId(options.discId, id))
        throw CLI::ValidationError("'" + options.discId + "' is no disc id: eight hexadecimal digits");
    Session session(options);
    CCDDBRecord record;
    session.Demand(options.https ? session.client.ReadHTTP(session.site, id, options.category.c_str(), record, false)
                                 : session.client.Read(session.site, id, options.category.c_str(), record));
    options.json ? PrintJson(RecordJson(record, options.encoding)) : PrintRecord(record, options.encoding);
}

void Sites(const CddbArguments& options)
{
    Session session(options);
    std::vector<CCDDBSite> sites;
    session.Demand(session.client.Sites(sites, session.site));
    ordered_json json = ordered_json::array();
    for (const CCDDBSite& site : sites) {
        const double latitude = (site.north ? 1 : -1) * site.latitude / 60.0,
                     longitude = (site.east ? 1 : -1) * site.longitude / 60.0;
        json.push_back({{"host", Text(site.host, options)},
                        {"port", site.port},
                        {"path", Text(site.path, options)},
                        {"latitude", latitude},
                        {"longitude", longitude},
                        {"description", Text(site.description, options)}});
        if (!options.json)
            std::printf("%s:%d%s  %.2f %.2f  %s\n", Text(site.host, options).c_str(), site.port,
                        Text(site.path, options).c_str(), latitude, longitude, Text(site.description, options).c_str());
    }
    if (options.json)
        PrintJson(json);
}

void Categories(const CddbArguments& options)
{
    Session session(options);
    std::vector<CString> categories;
    session.Demand(session.client.Categories(session.site, categories));
    ordered_json json = ordered_json::array();
    for (const CString& category : categories) {
        json.push_back(Text(category, options));
        if (!options.json)
            std::printf("%s\n", Text(category, options).c_str());
    }
    if (options.json)
        PrintJson(json);
}

void Status(const CddbArguments& options)
{
    Session session(options);
    CCDDBStatus status;
    session.Demand(session.client.Status(session.site, status));
    ordered_json json = {{"currentProto", status.currentProto},        {"maxProto", status.maxProto},
                         {"gets", Text(status.gets, options)},         {"updates", Text(status.updates, options)},
                         {"posting", Text(status.posting, options)},   {"quotes", Text(status.quotes, options)},
                         {"currentUsers", status.currentUsers},        {"maxUsers", status.maxUsers},
                         {"stripExt", Text(status.stripExt, options)}, {"databaseEntries", status.databaseEntries}};
    json["categories"] = ordered_json::object();
    for (const auto& [category, entries] : status.categoryEntries)
        json["categories"][Text(category, options)] = entries;
    json["pendingTransmissions"] = ordered_json::object();
    for (const auto& [site, text] : status.pendingTransmissions)
        json["pendingTransmissions"][Text(site, options)] = Text(text, options);
    if (options.json)
        return PrintJson(json);
    const auto line = [](const ordered_json& value) {
        return value.is_string() ? value.get<std::string>() : value.dump();
    };
    for (const auto& [key, value] : json.items())
        if (!value.is_object())
            std::printf("%-18s %s\n", key.c_str(), line(value).c_str());
    for (const char* const list : {"categories", "pendingTransmissions"}) {
        if (!json[list].empty())
            std::printf("%s:\n", list);
        for (const auto& [key, value] : json[list].items())
            std::printf("  %-16s %s\n", key.c_str(), line(value).c_str());
    }
}

void Motd(const CddbArguments& options)
{
    Session session(options);
    CString text;
    session.Demand(session.client.MessageOfTheDay(session.site, text));
    text.Replace("\r\n", "\n");
    if (options.json)
        return PrintJson({{"message", Text(text, options)}});
    std::fputs(Text(text, options).c_str(), stdout);
}

void Submit(const CddbArguments& options)
{
    RequireReadable(options.record);
    std::ifstream file(options.record, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    Session session(options, CCDDBSite::submission);
    CCDDBRecord record;
    if (!session.client.ParseRecord(text.c_str(), record))
        throw Error(options.record, "is no complete xmcd record");
    session.Demand(session.client.Submit(session.site, options.category.c_str(), options.email.c_str(), record,
                                         options.note.c_str(), !options.send));
    if (options.json)
        return PrintJson({{"discId", DiscIdText(record.discId)}, {"accepted", true}, {"test", !options.send}});
    std::printf("%s: %s\n", DiscIdText(record.discId).c_str(),
                options.send ? "accepted" : "would be accepted; --send submits it");
}

CLI::App& AddCommand(CLI::App& cddb, const char* name, const char* arguments, const char* what,
                     const std::shared_ptr<CddbArguments>& options, void (*run)(const CddbArguments&))
{
    CLI::App& command = *cddb.add_subcommand(name, what);
    command.add_option("--server", options->server, "The server, with its port when that is another than usual")
        ->required()
        ->type_name("HOST[:PORT]");
    command.add_option("--path", options->path, "Where on the server its program is")->type_name("PATH");
    command
        .add_option("--timeout", options->timeout, "Longest wait for connecting, sending and each piece of the answer")
        ->check(CLI::Range(1, 3600000))
        ->capture_default_str()
        ->type_name("MS");
    command.add_option("--proxy", options->proxy, "HTTP proxy to go through")->type_name("HOST[:PORT]");
    command.add_option("--proxy-user", options->proxyUser, "For a proxy that wants to know")->type_name("NAME");
    command.add_option("--proxy-password", options->proxyPassword, "For a proxy that wants to know")->type_name("TEXT");
    AddEncodingOption(command, options->encoding);
    AddJsonFlag(command, options->json);
    command.callback([options, run] { run(*options); });
    command.footer(std::string("\nExample:\n  nvtool cddb ") + name + arguments + " --server gnudb.gnudb.org");
    return command;
}

void AddHttps(CLI::App& command, CddbArguments& options)
{
    command.add_flag("--https", options.https, "Ask over HTTPS");
    command.add_flag("--verify", options.verify, "Demand a certificate that this machine trusts");
}

} // namespace

void AddCddb(CLI::App& app)
{
    auto options = std::make_shared<CddbArguments>();
    CLI::App& cddb = *app.add_subcommand("cddb", "Look discs up in CDDB servers and in a local database");
    cddb.require_subcommand(1);
    CLI::App& query =
        AddCommand(cddb, "query", " --image album.cue", "List what a server knows of a disc", options, &Query);
    AddDiscOptions(query, options->disc, false);
    AddHttps(query, *options);
    CLI::App& read = AddCommand(cddb, "read", " rock 9a0bed0d", "Show a record of a server", options, &Read);
    read.add_option("CATEGORY", options->category, "As query tells it")->required()->type_name("");
    read.add_option("DISCID", options->discId, "As query tells it")->required()->type_name("");
    AddHttps(read, *options);
    AddCommand(cddb, "sites", "", "List the servers that a server knows", options, &Sites);
    AddCommand(cddb, "categories", "", "List the categories of a server", options, &Categories);
    AddCommand(cddb, "status", "", "Show what a server says of itself", options, &Status);
    AddCommand(cddb, "motd", "", "Show a server's message of the day", options, &Motd);
    CLI::App& submit = AddCommand(cddb, "submit", " 9a0bed0d --category rock --email me@example.org",
                                  "Have a server check a record, or take it", options, &Submit);
    submit.add_option("RECORD", options->record, "File of an xmcd record")->required()->type_name("");
    submit.add_option("--category", options->category, "Where it belongs")->required()->type_name("NAME");
    submit.add_option("--email", options->email, "Where the server may complain")->required()->type_name("ADDRESS");
    submit.add_option("--note", options->note, "For the server's log")->type_name("TEXT");
    submit.add_flag("--send", options->send, "Submit it; without this it is only checked");
    AddCddbLocal(cddb);
    cddb.footer("\nExamples:\n  nvtool cddb query --image album.cue --server gnudb.gnudb.org\n"
                "  nvtool cddb local --image album.cue --db database");
}

} // namespace nvtool
