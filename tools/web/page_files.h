// The console's page (HTML, script, style), embedded in the server when it is built.
#ifndef SARVIK_TOOLS_WEB_PAGE_FILES_H_
#define SARVIK_TOOLS_WEB_PAGE_FILES_H_

#include <cstddef>
#include <string>

namespace sarvik::web {

// One file of tools/web/page: its name, its Content-Type and its bytes.
struct PageFile {
  const char* name;
  const char* content_type;
  const unsigned char* data;
  size_t size;
};

// The table of the page's files, generated from tools/web/page.
const PageFile* page_files_begin();
const PageFile* page_files_end();

// The file of that name, or null.
const PageFile* find_page_file(const std::string& name);

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_PAGE_FILES_H_
