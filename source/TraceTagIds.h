#pragma once

namespace qvsslinit {

// The ids that tie call sites to the tags of a trace configuration file.
constexpr int kTraceReferenceCount = 1;     // handles and their count
constexpr int kTraceInitializerScopes = 4;  // entry to and exit from SslInitializerImplementation
constexpr int kTraceCertificate = 5;        // what became of the default certificate
constexpr int kTraceCreatorScopes = 6;      // entry to and exit from DefaultCertCreator

}  // namespace qvsslinit
