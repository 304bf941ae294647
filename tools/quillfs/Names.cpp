// Commands about links, and about the forms in which a path can be written.
#include "tools/quillfs/Command.h"

namespace {

/// Runs an operation that turns each path into another text. If it fails without a code, the text has the wrong form.
template <bool (*convert)(quill::StandaloneFileManager&, const Arguments&, const QuillFileString&, QuillFileString&)>
void Convert(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths()) {
    session.Begin();
    QuillFileString result;
    // The operation can succeed with an empty result: this path has no such form.
    const bool isConverted = convert(session.manager, arguments, path, result) && result.getUTF8();
    isConverted ? (void)session.output.PrintNameLine(TextOf(result))
                : session.FailOr(TextOf(path), kQuillErrIllegalPath);
  }
}

bool ReadLink(quill::StandaloneFileManager& manager, const Arguments&, const QuillFileString& path,
              QuillFileString& target) {
  return manager.FileReadSymLink(path, target);
}

bool Resolve(quill::StandaloneFileManager& manager, const Arguments&, const QuillFileString& path,
             QuillFileString& target) {
  // The operation replaces the path that it is given.
  target = path;
  return manager._PathCanonicalizeSymLink(target);
}

bool Canonical(quill::StandaloneFileManager& manager, const Arguments&, const QuillFileString& path,
               QuillFileString& result) {
  return manager.FileGetCanonicalPath(path, result);
}

bool Url(quill::StandaloneFileManager& manager, const Arguments& arguments, const QuillFileString& path,
         QuillFileString& url) {
  return arguments.Has("--earlier") ? manager.FileGetPathUrlPreVeranda(path, url) : manager.FileGetPathUrl(path, url);
}

bool UrlPath(quill::StandaloneFileManager& manager, const Arguments& arguments, const QuillFileString& url,
             QuillFileString& path) {
  return arguments.Has("--earlier") ? manager.FileGetUrlPathPreVeranda(url, path) : manager.FileGetUrlPath(url, path);
}

bool PosixPath(quill::StandaloneFileManager& manager, const Arguments&, const QuillFileString& path,
               QuillFileString& result) {
  return manager.FileGetPOSIXPath(path, result);
}

bool Redirected(quill::StandaloneFileManager& manager, const Arguments&, const QuillFileString& path,
                QuillFileString& result) {
  // No redirection means that the path itself is to be used.
  if (!manager.RedirectedFilePath(path, result)) result = path;
  return true;
}

bool Native(quill::StandaloneFileManager& manager, const Arguments&, const QuillFileString& path,
            QuillFileString& result) {
  result.setUTF8(manager.GetNativePath(path.getUTF8()));
  return true;
}

void Link(Session& session, const Arguments& arguments) {
  session.Begin();
  const QuillFileString target = arguments.Path(0), link = arguments.Path(1);
  if (!session.manager.FileCreateSymLink(target, link)) session.Fail(link);
}

void IsLink(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths()) {
    session.output.Print(session.manager.FileIsSymLink(path) ? "yes\n" : "no\n");
  }
}

}  // namespace

CommandGroup NameCommands() {
  const OptionRow earlier{"--earlier", OptionKind::kFlag, "use the earlier form"};
  return {
      "Links and names",
      {
          {"ln", "TARGET LINK", "make a symbolic link", "quillfs ln ../shared/notes notes", {}, Link},
          {"is-link", "PATH...", "print whether each path is a symbolic link", "quillfs is-link /bin", {}, IsLink},
          {"readlink", "PATH...", "print the text of symbolic links", "quillfs readlink /bin", {}, Convert<ReadLink>},
          {"resolve",
           "PATH...",
           "print the paths that links point to, one step",
           "quillfs resolve /bin",
           {},
           Convert<Resolve>},
          {"canonical",
           "PATH...",
           "print absolute paths without links, \".\" and \"..\"",
           "quillfs canonical ../notes",
           {},
           Convert<Canonical>},
          {"url", "PATH...", "print file URLs of paths", "quillfs url '/home/user/my notes'", {earlier}, Convert<Url>},
          {"path",
           "URL...",
           "print the paths of URLs",
           "quillfs path file:///home/user/my%20notes",
           {earlier},
           Convert<UrlPath>},
          {"posix",
           "PATH...",
           "print paths with each \":\" turned into \"/\"",
           "quillfs posix volume:folder:file",
           {},
           Convert<PosixPath>},
          {"redirected",
           "PATH...",
           "print the paths to be used instead",
           "quillfs redirected notes",
           {},
           Convert<Redirected>},
          {"native", "PATH...", "print paths as the system writes them", "quillfs native notes", {}, Convert<Native>},
      }};
}
