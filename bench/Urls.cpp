// Paths to URLs and back, for an ASCII path of 60 bytes with two spaces in it.
#include <memory>

#include "bench/Support.h"
#include "standalone/StandaloneFileManager.h"

namespace bench {

void RegisterUrls() {
  const auto manager = std::make_shared<quill::StandaloneFileManager>();
  const auto path = PathString(kUrlPath);
  Register("BM_PathToUrl/layer/60", [=] {
    QuillFileString url;
    Require(manager->FileGetPathUrl(path, url), "FileGetPathUrl");
    return url.isEmpty();
  });
  QuillFileString url;
  Require(manager->FileGetPathUrl(path, url), "FileGetPathUrl");
  Register("BM_UrlToPath/layer/60", [=] {
    QuillFileString result;
    Require(manager->FileGetUrlPath(url, result), "FileGetUrlPath");
    return result.isEmpty();
  });
}

}  // namespace bench
