# cmake -D CMARK=... -D PAGE=... -D HTML=... -P HtmlPage.cmake
# Makes a page of the documentation for browsers: one file, without scripts and without a network.
execute_process(COMMAND "${CMARK}" -e table "${PAGE}"
  OUTPUT_VARIABLE body COMMAND_ERROR_IS_FATAL ANY)
get_filename_component(title "${PAGE}" NAME_WE)
# Pages link to each other; headings are link targets in the way of the web pages of repositories.
string(REGEX REPLACE "href=\"([a-z]+)\\.md" "href=\"\\1.html" body "${body}")
string(REGEX MATCHALL "<h[2-4]>[^\n]*</h[2-4]>" headings "${body}")
foreach(heading IN LISTS headings)
  string(REGEX REPLACE "<[^>]*>" "" id "${heading}")
  string(TOLOWER "${id}" id)
  string(REGEX REPLACE "[^a-z0-9 -]" "" id "${id}")
  string(REPLACE " " "-" id "${id}")
  string(REGEX REPLACE "^<(h[2-4])>" "<\\1 id=\"${id}\">" with_id "${heading}")
  string(REPLACE "${heading}" "${with_id}" body "${body}")
endforeach()
file(WRITE "${HTML}" "<!DOCTYPE html>
<html lang=\"en\"><head><meta charset=\"utf-8\"><title>Zorvane: ${title}</title>
<meta name=\"viewport\" content=\"width=device-width\">
<style>
body { max-width: 60em; margin: 2em auto; padding: 0 1em; font: 16px/1.5 sans-serif; color-scheme: light dark }
table { border-collapse: collapse } th, td { border: 1px solid #8888; padding: .2em .5em; text-align: left; vertical-align: top }
pre { padding: .5em; border: 1px solid #8888; overflow-x: auto } code, pre { font-family: monospace }
</style></head><body>
${body}</body></html>
")
