#pragma once

#include <QByteArray>

namespace corvane {

// The reason phrase of an HTTP status line, as servers send it; a neutral word for the codes
// nothing here writes.
inline QByteArray httpReasonPhrase(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 301:
        return "Moved Permanently";
    case 302:
        return "Found";
    case 304:
        return "Not Modified";
    case 400:
        return "Bad Request";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 500:
        return "Internal Server Error";
    case 503:
        return "Service Unavailable";
    default:
        return "Status";
    }
}

} // namespace corvane
