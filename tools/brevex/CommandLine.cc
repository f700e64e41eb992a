#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <sstream>

#include "EncryptionFlags.h"
#include "HelpFormatter.h"
#include "SettingParser.h"
#include "Text.h"

namespace Tool
{
namespace
{

constexpr const char* g_szFooter =
    "Exit codes: 0 done, 1 done with warnings about the input, 2 wrong use, 3 input cannot be opened,\n"
    "4 output cannot be written, 5 internal failure; with many inputs the largest.\n";

bool IsVersion(const std::string& sText)
{
  const bool bDigits = sText.size() == 3 && sText[1] == '.';
  return bDigits && (sText[0] == '1' || sText[0] == '2') && sText[2] >= '0' && sText[2] <= '9';
}

void AddSetting(CLI::App& app, const TSettingFlag& flag, TOptimizeOptions& options)
{
  const std::string sName = std::string("--") + flag.szName;
  const auto apply = [&flag, &options, sName](const std::string& sText)
  {
    TParsedSetting parsed = ParseSetting(flag, sText);
    if (!parsed.sError.empty())
    {
      throw CLI::ValidationError(sName, parsed.sError);
    }
    options.settings.push_back(std::move(parsed.apply));
    const bool bOff = sText == "false" || sText == "none";
    options.bAllowLarger = options.bAllowLarger || (flag.effect == TEffect::Content && !bOff);
    options.bSetsVersion = options.bSetsVersion || flag.effect == TEffect::Version;
    if (flag.effect == TEffect::Pending && !bOff)
    {
      options.pendingFlags.push_back(sName);
    }
  };
  if (std::holds_alternative<TBoolSetting>(flag.setting))
  {
    app.add_flag_function(
           sName + ",!--no-" + flag.szName, [apply](std::int64_t n) { apply(n > 0 ? "true" : "false"); },
           flag.szHelp)
        ->group(flag.szGroup)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    return;
  }
  const std::string sValues = DescribeValues(flag);
  const bool bShort = sValues.find(',') == std::string::npos;
  app.add_option_function<std::string>(sName, apply, flag.szHelp + (bShort ? "" : ": " + sValues))
      ->group(flag.szGroup)
      ->type_name(bShort                                              ? sValues
                  : std::holds_alternative<TSetSetting>(flag.setting) ? "LIST"
                                                                      : "NAME")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

void AddProfile(CLI::App& app, TOptimizeOptions& options)
{
  app.add_option_function<std::string>(
         "--profile",
         [&](const std::string& s)
         {
           const std::optional<unsigned> nProfile = FindName(GetProfileNames(), s);
           if (!nProfile)
           {
             throw CLI::ValidationError("--profile",
                                        "'" + s + "' is none of: " + JoinNames(GetProfileNames()));
           }
           options.nProfile = *nProfile;
         },
         "Set of options to start from, lossless unless given: " + JoinNames(GetProfileNames()))
      ->type_name("NAME")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.add_option_function<std::string>(
         "--pdf-version",
         [&](const std::string& s)
         {
           const bool bWord = s == "auto" || s == "keep";
           if (!bWord && !IsVersion(s))
           {
             throw CLI::ValidationError("--pdf-version",
                                        "'" + s + "' is neither auto, keep nor a version like 1.7");
           }
           options.sPdfVersion = s;
           options.bAllowLarger = options.bAllowLarger || !bWord;
         },
         "Version of the output: auto (what the encodings need, the default), keep, or a number like 1.7")
      ->type_name("VERSION")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

// A flag that may be repeated, of two texts with "=" between. Asks for more than a smaller file.
CLI::Option* AddPairs(CLI::App& app, const char* szName, const char* szForm, const char* szHelp,
                      std::vector<std::pair<std::string, std::string>>& pairs, bool& bAllowLarger)
{
  const auto take = [szName, szForm, &pairs, &bAllowLarger](const std::vector<std::string>& texts)
  {
    for (const std::string& s : texts)
    {
      const size_t nEquals = s.find('=');
      if (nEquals == 0 || nEquals == std::string::npos)
      {
        throw CLI::ValidationError(szName, "'" + s + "' is not " + szForm);
      }
      pairs.emplace_back(s.substr(0, nEquals), s.substr(nEquals + 1));
      bAllowLarger = true;
    }
  };
  return app.add_option_function<std::vector<std::string>>(szName, take, szHelp)
      ->type_name(szForm)
      ->allow_extra_args(false);
}

void AddDocument(CLI::App& app, TOptimizeOptions& options)
{
  AddPairs(app, "--info", "KEY=VALUE",
           "Set an entry of the document information, such as Title=Report; may be repeated",
           options.infoEntries, options.bAllowLarger);
  app.add_option("--cms-engine", options.sColorEngine,
                 "Colour management: lcms, none, neugebauer, or a file of primaries")
      ->type_name("NAME");
  app.add_flag(
      "--allow-larger", options.bAllowLarger,
      "Keep a result that is not smaller than the input. Implied by what asks for more than a smaller "
      "file: --linearize, --info, --strip, a --pdf-version, encryption and the like");
}

// The library takes names of up to 256 bytes that are not empty.
void CheckFontName(const char* szFlag, const std::string& sName)
{
  const size_t nLength = ToUtf8(ToUtf16(sName).c_str()).size();
  if (nLength == 0 || nLength > 256)
  {
    throw CLI::ValidationError(szFlag, "'" + sName + "' is no name of a font");
  }
}

void AddFonts(CLI::App& app, TOptimizeOptions& options)
{
  AddPairs(app, "--rename-font", "OLD=NEW", "Give the fonts of a name another one; may be repeated",
           options.fontNames, options.bAllowLarger)
      ->group("Fonts");
  app.add_option_function<std::vector<std::string>>(
         "--unembed-font",
         [&](const std::vector<std::string>& names)
         {
           options.unembeddedFonts.insert(options.unembeddedFonts.end(), names.begin(), names.end());
           options.bAllowLarger = true;
         },
         "Take out the programs of the fonts of a name, * for all; may be repeated")
      ->type_name("FONT")
      ->group("Fonts")
      ->allow_extra_args(false);
  app.add_option_function<std::vector<std::string>>(
         "--embed-font",
         [&](const std::vector<std::string>& texts)
         {
           for (const std::string& s : texts)
           {
             const size_t nEquals = std::min(s.find('='), s.size());
             options.embeddedFonts.emplace_back(s.substr(0, nEquals),
                                                nEquals < s.size() ? s.substr(nEquals + 1) : "");
           }
           options.bAllowLarger = true;
         },
         "Embed the fonts of a name that are not, from a file or the most similar that is installed; may be "
         "repeated")
      ->type_name("FONT[=FILE]")
      ->group("Fonts")
      ->allow_extra_args(false);
}

void CheckFonts(const TOptimizeOptions& options)
{
  for (const auto& [sOld, sNew] : options.fontNames)
  {
    CheckFontName("--rename-font", sOld);
    CheckFontName("--rename-font", sNew);
  }
  for (const std::string& sName : options.unembeddedFonts)
  {
    CheckFontName("--unembed-font", sName);
  }
  for (const auto& [sName, sFile] : options.embeddedFonts)
  {
    CheckFontName("--embed-font", sName);
  }
}

void AddFiles(CLI::App& app, TOptimizeOptions& options)
{
  app.add_option("files", options.paths,
                 "Input and output, - for standard input or output; with --output-dir "
                 "or --in-place inputs alone")
      ->type_name("FILE");
  auto* pFolder =
      app.add_option("-o,--output-dir", options.sOutputFolder, "Folder for the outputs of many inputs");
  pFolder->type_name("FOLDER");
  app.add_flag("-i,--in-place", options.bInPlace, "Replace each input by its output")->excludes(pFolder);
  app.add_flag("-r,--recursive", options.bRecursive,
               "Take the files *.pdf of folders and the folders in them");
  app.add_option("-j,--jobs", options.nJobs, "Files at a time; 0 for one per processor")
      ->type_name("N")
      ->check(CLI::Range(0U, 256U));
}

void AddMessages(CLI::App& app, TOptimizeOptions& options)
{
  app.add_option_function<std::string>(
         "--progress",
         [&](const std::string& s)
         {
           options.progress = s == "always"  ? TProgressMode::Always
                              : s == "never" ? TProgressMode::Never
                                             : TProgressMode::Auto;
         },
         "Show progress: auto (on a terminal, the default), always, never")
      ->type_name("WHEN")
      ->check(CLI::IsMember({"auto", "always", "never"}));
  app.add_flag("--json", options.bJson, "Write one JSON object per file to standard output");
  auto* pQuiet = app.add_flag("-q,--quiet", options.bQuiet, "Write nothing but errors and losses");
  app.add_flag("-v,--verbose", options.bVerbose, "Also write a line for each image")->excludes(pQuiet);
}

void CheckFiles(const TOptimizeOptions& options)
{
  const bool bMany = options.bInPlace || !options.sOutputFolder.empty();
  const auto nStreams = std::count(options.paths.begin(), options.paths.end(), "-");
  if (options.paths.empty())
  {
    throw CLI::ValidationError("files", "there is no input");
  }
  if (!bMany && options.paths.size() != 2)
  {
    throw CLI::ValidationError("files", "one input and one output, or --output-dir or --in-place");
  }
  if (bMany && nStreams > 0)
  {
    throw CLI::ValidationError("files", "- needs one input and one output");
  }
  if (!bMany && options.paths[1] == "-" && options.bJson)
  {
    throw CLI::ValidationError("--json", "standard output is taken by the document");
  }
}

constexpr const char* g_szPasswordHelp = "Password of encrypted input, of its user or its owner";

void AddOptimize(CLI::App& app, TOptimizeOptions& options)
{
  app.footer(g_szFooter);
  AddFiles(app, options);
  AddProfile(app, options);
  AddDocument(app, options);
  AddMessages(app, options);
  for (const TSettingFlag& flag : GetSettingFlags())
  {
    AddSetting(app, flag, options);
  }
  AddFonts(app, options);
}

void AddInfo(CLI::App& app, TInfoOptions& options)
{
  app.footer(g_szFooter);
  app.add_option("files", options.paths, "Inputs, - for standard input")->type_name("FILE")->required();
  app.add_flag("--json", options.bJson, "Write one JSON object per file");
}

void AddResources(CLI::App& app, TResourceOptions& options)
{
  app.footer(g_szFooter);
  app.add_option_function<std::string>(
         "kind", [&](const std::string& s) { options.bFonts = s == "fonts"; }, "images or fonts")
      ->type_name("KIND")
      ->check(CLI::IsMember({"images", "fonts"}))
      ->required();
  app.add_option("file", options.sPath, "Input, - for standard input")->type_name("FILE")->required();
  app.add_flag("--json", options.bJson, "Write one JSON object");
}

void AddExtract(CLI::App& app, TResourceOptions& options)
{
  AddResources(app, options);
  app.add_option("-d,--directory", options.sFolder,
                 "Folder for the files, the working directory unless given")
      ->type_name("FOLDER");
}

// "brevex in.pdf out.pdf" means "brevex optimize in.pdf out.pdf".
void AddDefaultVerb(std::vector<std::string>& arguments)
{
  constexpr const char* szWords[] = {"optimize", "info", "list", "extract", "-h", "--help", "--version"};
  const auto isWord = [&](const char* szWord) { return arguments.front() == szWord; };
  if (arguments.empty() || std::none_of(std::begin(szWords), std::end(szWords), isWord))
  {
    arguments.insert(arguments.begin(), "optimize");
  }
}

}  // namespace

std::optional<TCommand> ParseCommandLine(std::vector<std::string> arguments, TExitCode& exitCode)
{
  TCommand command;
  CLI::App app("Makes PDF files smaller and faster to open on the web.", "brevex");
  app.footer("brevex IN OUT is brevex optimize IN OUT. Each verb has its own --help.\n");
  app.formatter(std::make_shared<CHelpFormatter>());
  app.require_subcommand(1);
  app.set_version_flag("--version", [] { return std::string("brevex ") + BrevexGetProductVersionA(); });
  CLI::App* pOptimize = app.add_subcommand("optimize", "Write a smaller file (the default verb)");
  CLI::App* pInfo = app.add_subcommand("info", "Tell what a file is");
  AddOptimize(*pOptimize, command.optimize);
  AddInfo(*pInfo, command.info);
  CLI::App* pList = app.add_subcommand("list", "List images or fonts");
  CLI::App* pExtract = app.add_subcommand("extract", "Write images or font programs into files");
  AddResources(*pList, command.resources);
  AddExtract(*pExtract, command.resources);
  CPasswordFlags password(*pOptimize, "", g_szPasswordHelp, command.optimize.sPassword);
  CPasswordFlags infoPassword(*pInfo, "", g_szPasswordHelp, command.info.sPassword);
  CPasswordFlags listPassword(*pList, "", g_szPasswordHelp, command.resources.sPassword);
  CPasswordFlags extractPassword(*pExtract, "", g_szPasswordHelp, command.resources.sPassword);
  CEncryptionFlags encryption(*pOptimize, command.optimize.encryption);
  try
  {
    AddDefaultVerb(arguments);
    std::reverse(arguments.begin(), arguments.end());
    app.parse(arguments);
    password.ReadEnvironment();
    infoPassword.ReadEnvironment();
    listPassword.ReadEnvironment();
    if (pOptimize->parsed())
    {
      encryption.Finish();
      command.optimize.bAllowLarger |= command.optimize.encryption.protection != TProtection::Keep;
      CheckFiles(command.optimize);
      CheckFonts(command.optimize);
    }
    command.verb = pInfo->parsed()      ? TVerb::Info
                   : pList->parsed()    ? TVerb::List
                   : pExtract->parsed() ? TVerb::Extract
                                        : TVerb::Optimize;
    return command;
  }
  catch (const CLI::ParseError& error)
  {
    std::ostringstream message;
    const bool bAsked = app.exit(error, std::cout, message) == 0;
    std::istringstream lines(message.str());
    for (std::string sLine; std::getline(lines, sLine);)
    {
      std::cerr << MakePrintable(sLine) << '\n';
    }
    exitCode = bAsked ? TExitCode::Done : TExitCode::Usage;
    return std::nullopt;
  }
}

}  // namespace Tool
