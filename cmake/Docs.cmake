# The API reference: `cmake --build <dir> --target docs` writes HTML from the
# public headers' comments into <dir>/docs/html. A public name without a
# comment fails the target, so the reference never silently lags the headers.
# Without doxygen there is no `docs` target, and nothing else changes.
set(QUORVEL_PUBLIC_HEADERS
    utils/Export.h utils/Utils.h utils/Conversions.h utils/DiagnosticLog.h utils/FileHelpers.h
    utils/SystemInfo.h utils/WideString.h utils/LockableImpl.h
    xml/XMLUtility.h
    comm/CommunicationLibrary.h comm/MyUrlConnection.h)

find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
    return()
endif()

set(DOXYGEN_PROJECT_NAME Quorvel)
set(DOXYGEN_PROJECT_BRIEF "Support library: conversions, system information, diagnostic log, XML text utility, HTTP transport")
set(DOXYGEN_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/docs)
set(DOXYGEN_FILTER_PATTERNS "*.h=awk -f ${PROJECT_SOURCE_DIR}/cmake/doxygen-filter.awk")
set(DOXYGEN_USE_MDFILE_AS_MAINPAGE ${PROJECT_SOURCE_DIR}/docs/api.md)
set(DOXYGEN_STRIP_FROM_PATH ${PROJECT_SOURCE_DIR})
set(DOXYGEN_STRIP_FROM_INC_PATH ${PROJECT_SOURCE_DIR})
set(DOXYGEN_WARN_IF_UNDOCUMENTED YES)
set(DOXYGEN_WARN_IF_DOC_ERROR YES)
set(DOXYGEN_WARN_NO_PARAMDOC NO)
set(DOXYGEN_WARN_AS_ERROR FAIL_ON_WARNINGS)
set(DOXYGEN_QUIET YES)
set(DOXYGEN_EXTRACT_PRIVATE NO)
set(DOXYGEN_ENABLE_PREPROCESSING YES)
set(DOXYGEN_MACRO_EXPANSION YES)
set(DOXYGEN_EXPAND_ONLY_PREDEF YES)
set(DOXYGEN_PREDEFINED "QUORVEL_EXPORT=")
set(DOXYGEN_GENERATE_LATEX NO)
set(DOXYGEN_HTML_TIMESTAMP NO)
set(DOXYGEN_HAVE_DOT NO)
set(DOXYGEN_SEARCHENGINE NO)
set(DOXYGEN_JAVADOC_AUTOBRIEF YES)

list(TRANSFORM QUORVEL_PUBLIC_HEADERS PREPEND ${PROJECT_SOURCE_DIR}/ OUTPUT_VARIABLE quorvel_doc_inputs)
doxygen_add_docs(docs ${PROJECT_SOURCE_DIR}/docs/api.md ${quorvel_doc_inputs} COMMENT "API reference in ${DOXYGEN_OUTPUT_DIRECTORY}/html")
