#pragma once

extern "C" {

/// Opens the two OpenSSL files of a directory, looks the functions up, and makes the calls that a
/// first Init makes to start OpenSSL. Whether that worked.
bool MeasuredStart(const char* directory);

/// The same, and then makes a key and a certificate like the default ones, in the files "key" and
/// "certificate" of the current directory.
bool MeasuredCreate(const char* directory);
}
