/// \file klb.h
/// klb answers one question: is this feature on for this customer?
///
/// The host application initialises the library with its system identifier, registers toggle files
/// (JSON documents that give toggles their values) and toggles (a key such as /editor/fastPath with
/// a default value), and then asks for values by key.
///
/// \par Values
/// A toggle's value comes, in rising precedence, from the host's default, from the toggle file of
/// its token, and from this computer's override file. A static toggle keeps the value it got when
/// it was registered; a dynamic toggle may be changed by the host with KLB_SetDynamicToggle().
///
/// \par Lifecycle
/// KLB_Init() creates everything, KLB_Term() destroys everything; between the two, nothing that was
/// registered is ever removed. Unloading the library does not call KLB_Term(). Set-up calls come in
/// this order: KLB_InitMessageProc() (at any time), KLB_Init(), KLB_SetOverridePath() and
/// KLB_SetCertificateData(), then toggle files, then toggles.
///
/// \par Errors: report or throw
/// With a message callback installed, an error is one call of it with KLB_MessageType_Error and the
/// text, and the failing function returns without effect (or false, or 0). Without a callback the
/// same text is thrown: std::invalid_argument for a null, empty or malformed argument,
/// std::domain_error for a call in the wrong state and for a file that cannot be used. Where a
/// function differs, its own comment says so. std::bad_alloc is thrown when memory runs out, with
/// or without a callback, and leaves the library usable.
///
/// \par Hosts with another C++ runtime
/// C++ exceptions reach a host that shares this library's C++ runtime conventions. Any other host,
/// such as one built with a Microsoft-compatible compiler for a library built with MinGW-w64, must
/// install a message callback before anything else; an exception thrown anyway terminates the
/// process.
/// A build of the library's sources with Microsoft's compiler gives such a host the exceptions.
///
/// \par Threads
/// Every function may be called from any thread at any time. One non-recursive lock serialises
/// them: it is held for the whole call, file reading and the message callback included. A callback
/// must therefore not call back into the library: it would deadlock.
///
/// \par Texts
/// All texts are NUL-terminated bytes; keys and tokens are compared byte for byte, file names are
/// UTF-8. The host owns every text and buffer it passes, and the library keeps none of them after
/// the call: it copies what it needs.
///
/// \par Report buffers
/// KLB_GetDefaultToggleJson() and KLB_GetOverrideInfoString() write their text into a buffer of the
/// host. N is the size that the whole text needs, its terminating NUL included:
///
/// | buffer                  | result      | written                                       |
/// |-------------------------|-------------|-----------------------------------------------|
/// | null                    | N           | nothing                                       |
/// | of N bytes or more      | N           | the text and its NUL, N bytes                 |
/// | of fewer than N bytes   | its size    | the beginning of the text, the last byte NUL  |
/// | of 0 bytes              | 0           | nothing                                       |
///
/// If there is nothing to list, KLB_GetOverrideInfoString() returns 0 and leaves the buffer alone.
/// A host asks twice, here for a std::string without the NUL:
/// \code
/// unsigned long long size = KLB_GetDefaultToggleJson("Editor", "2.1", nullptr, 0);
/// std::string text(size, '\0');
/// size = KLB_GetDefaultToggleJson("Editor", "2.1", &text[0], text.size());
/// text.resize(size == 0 ? 0 : size - 1);
/// \endcode
/// Both calls do the whole work. The library keeps the memory of each JSON document that it built,
/// some 130 bytes for each toggle and each call, until KLB_Term(): request reports on demand, not
/// on a timer.

#ifndef KLB_H
#define KLB_H

#ifndef __cplusplus
#error "klb.h is a C++ header: the exported names carry their C++ types."
#endif

#if defined(_WIN32)
#if defined(KLB_BUILDING_LIBRARY)
#define KLB_API __declspec(dllexport)
#else
#define KLB_API __declspec(dllimport)
#endif
#else
#define KLB_API __attribute__((visibility("default")))
#endif

/// The base interface of the host's component framework; see KLB_InitOBX().
struct IOBXUnknown;

/// What kind of message a callback receives.
enum KLB_MessageType : int {
    /// An error; the call that reports it has no further effect than its comment says.
    KLB_MessageType_Error = 1,
    /// A remark: a toggle was queried that nobody registered.
    KLB_MessageType_Warning = 2
};

/// The kind of a toggle file. A value that is not named here is accepted too, and its file is read
/// like a protected one.
enum KLB_ToggleFileType : int {
    /// Refused by KLB_RegisterToggleFile().
    KLB_ToggleFileType_Invalid = 0,
    /// Unsupported features: a protected file, encrypted for one system identifier and signed.
    KLB_ToggleFileType_Unsupported = 1,
    /// Supported features: a plain JSON file.
    KLB_ToggleFileType_Supported = 2,
    /// The override file, a plain JSON file that the library registers by itself.
    KLB_ToggleFileType_Override = 0x7FFFFFFF
};

static_assert(sizeof(KLB_MessageType) == 4 && sizeof(KLB_ToggleFileType) == 4,
              "the exported names and the callback carry 32-bit enumerations");

/// A host's message callback. It is called on the thread whose call met the error, with the
/// library's lock held; the text is valid until it returns; its result is ignored. What it throws
/// leaves the library function that called it.
typedef int (*KLB_MessageProc)(KLB_MessageType type, const char* text);

/// Initialises the library. A second call is ignored, and so are its arguments, until KLB_Term().
///
/// \param sysID The system identifier, compared byte for byte with the one in a file's header. Must
///     not be null. When it is empty, this computer's device identifier (at most 32 characters)
///     takes its place if the computer has one. Copied.
/// \param enableOverride Whether this computer's override file may change toggles.
/// \par Errors
/// "KLB_Init: sysID must not be NULL." (std::invalid_argument). Whatever is thrown, the library
/// stays as it was.
/// \par Threads
/// Any. Only the check for a null sysID runs without the lock, the callback's call included.
KLB_API void KLB_Init(const char* sysID, bool enableOverride);

/// Destroys everything that was set and registered since KLB_Init(), the certificate included. The
/// message callback stays installed, and KLB_Init() may be called again. A manager published by
/// KLB_InitOBX() is withdrawn first.
///
/// \par Before KLB_Init
/// Does nothing.
/// \par Errors
/// A result code by which the host's component framework refuses the withdrawal is thrown as a
/// long, as by KLB_InitOBX(); the library then stays initialised, with everything that is
/// registered.
/// \par Threads
/// Any; waits for calls in progress on other threads.
KLB_API void KLB_Term();

/// Tells whether the library is initialised.
///
/// \return True from a successful KLB_Init() to KLB_Term().
/// \par Threads
/// Any.
KLB_API bool KLB_IsInitialized();

/// Installs the message callback, in place of any earlier one.
///
/// \param proc The callback, or null to have errors thrown again. It must stay callable until
///     another one is installed, also after KLB_Term().
/// \par Before KLB_Init
/// Works the same; KLB_Init() and KLB_Term() do not change it.
/// \par Threads
/// Any; a message in progress on another thread finishes first.
KLB_API void KLB_InitMessageProc(KLB_MessageProc proc);

/// Sets the directory of the override file, whose name is always CIT_OVERRIDE.KLB. Without this
/// call it is looked for in the directory of the host's executable.
///
/// \param overridePath A directory, with or without a trailing backslash (with or without a
///     trailing slash for a path that begins with one). Must be neither null nor empty. Copied.
/// \par Before KLB_Init
/// "KLB_SetOverridePath: KLB_Init must be called first." (std::domain_error).
/// \par Errors
/// Thrown as std::invalid_argument even when a callback is installed:
/// "setOverridePath: overridePath cannot be NULL.",
/// "setOverridePath: overridePath cannot be empty.".
/// Reported, or thrown as std::domain_error:
/// "setOverridePath: override path has already been set.",
/// "setOverridePath: must be called before any registration routines.".
/// Each of them leaves the path as it was.
/// \par Threads
/// Any.
KLB_API void KLB_SetOverridePath(const char* overridePath);

/// Sets the certificate that the signers of protected toggle files are checked against, in place of
/// the certificates beside each file, in mosk.cert.pem, and in libcrypto's default
/// directory. At most once, and before any registration.
///
/// \param certificateData A PEM text, of whose certificates the first one counts. Copied. Null
///     switches the signature check off for every file registered afterwards: protected files must
///     then hold their JSON document unsigned, and anyone can make them. A later call with a text,
///     before any registration, switches it on again; null may be passed several times.
/// \par Before KLB_Init
/// "KLB_SetCertificateData: KLB_Init must be called first." (std::domain_error).
/// \par Errors
/// std::domain_error, everything stays as it was:
/// "setCertificateData: certificate data has already been set." (by a text, not by null),
/// "setCertificateData: must be called before any registration routines.".
/// std::domain_error, no certificate is set, signatures are checked as without the call, and it may
/// be repeated:
/// "setCertificateData: can't read certificate from the certificate data provided.",
/// "setCertificateData: can't create BIO for the certificate data provided.".
/// \par Threads
/// Any.
KLB_API void KLB_SetCertificateData(const char* certificateData);

/// Publishes the library's manager to the host's component framework, as IKLBManager.h describes:
/// defines its class, unless the framework knows it already, and registers it as a singleton. The
/// library keeps the framework's identity and message sink until KLB_Term(), which withdraws the
/// singleton; the class stays defined. A second call does nothing, also when the first one failed
/// after it got the identity.
///
/// \param pHostUnk The host's base interface. Must not be null; used during the call only.
/// \par Before KLB_Init
/// "KLB_InitOBX: KLB_Init must be called first." (std::domain_error).
/// \par Errors
/// "KLB_InitOBX: pHostUnk must not be NULL." (std::invalid_argument).
/// A result code by which the framework refuses a call is thrown as a long, with or without a
/// callback; 0x80000005 stands for an interface that it answered with null. On platforms with a
/// 64-bit long the code is sign-extended.
/// \par Threads
/// Any. The framework is called with the library's lock held: it must not call the library.
KLB_API void KLB_InitOBX(IOBXUnknown* pHostUnk);

/// Tells whether the manager holds an interface of the host's component framework.
///
/// \return True from the moment at which KLB_InitOBX() got the framework's identity, also when a
///     later step of it failed, to KLB_Term(). False before KLB_Init(), without a message.
/// \par Threads
/// Any.
KLB_API bool KLB_IsOBXInitialized();

/// Registers a toggle file under a token and loads it.
///
/// A file that does not exist, cannot be opened or is not a regular file is no error: its toggles
/// keep their defaults. The same holds, without a message, for a plain file whose first byte is not
/// "{" and for a protected one with nothing inside; such a file is read again whenever a toggle is
/// registered against it. Registering the same token with the same file again does nothing.
///
/// \param toggleFileType The kind of file; not KLB_ToggleFileType_Invalid. The type that a token
///     was first registered with stays; a token first named by KLB_RegisterToggle() has the
///     type 0, and its file is read like a protected one.
/// \param toggleFileToken The name under which toggles refer to the file. Must not be null. Copied.
/// \param toggleFile The file's name, UTF-8. Must be neither null nor empty. Copied.
///     On Windows a name without a backslash is taken from the directory Mosk, Support below that
///     of the environment variable PROGRAMDATA; a full path has a backslash.
///     Elsewhere a name that begins with "/" is a full path. Of any other, one without a backslash
///     is taken from $PROGRAMDATA/Mosk/Support/, or /var/lib/Mosk/Support/ without that variable,
///     and a backslash counts as "/" when the file is opened.
/// \par Before KLB_Init
/// "KLB_RegisterToggleFile: KLB_Init must be called first." (std::domain_error).
/// \par Errors
/// std::invalid_argument, nothing is registered:
/// "registerToggleFile: toggleFileType is an unknown toggle file type.",
/// "registerToggleFile: toggleFileToken cannot be NULL.",
/// "registerToggleFile: toggleFile cannot be NULL.",
/// "registerToggleFile: toggleFile cannot be empty.".
/// std::domain_error, the token is known afterwards:
/// "registerToggleFile: toggle file path location as already been set to '<first path>'" (the
/// token keeps its first file),
/// "registerToggleFile: toggle file path location as already been registered to '<this token>'"
/// (another token owns the file, this one gets none),
/// "registerToggleFile: <error> in file: <path>", followed by " at offset: <bytes>" for an error at
/// a place in the text (the file sets no toggle, and is not read again).
/// \par Threads
/// Any; the lock is held while the file is read and parsed.
KLB_API void KLB_RegisterToggleFile(KLB_ToggleFileType toggleFileType, const char* toggleFileToken,
                                    const char* toggleFile);

/// Tells whether a token is known, with or without a file.
///
/// \param toggleFileToken The token. Must not be null.
/// \return True once the token was named by KLB_RegisterToggleFile() or by a toggle's registration.
/// \par Before KLB_Init
/// False, without a message.
/// \par Errors
/// "isFeatureToggleFileRegistered: toggleFileToken cannot be NULL." (std::invalid_argument).
/// \par Threads
/// Any.
KLB_API bool KLB_IsToggleFileRegistered(const char* toggleFileToken);

/// Registers a static toggle and determines its value. Registering the same key with the same token
/// again does nothing; the first default and the first kind, static or dynamic, stay.
///
/// The first registration with overrides enabled also registers the override file, whose errors are
/// those of KLB_RegisterToggleFile(). When such an error is thrown the toggle is not registered;
/// when a callback takes it, the toggle is registered, without the values of the file refused.
///
/// \param toggleKey The key, such as /editor/fastPath. Must not be null. A key that is empty or
///     does not begin with "/" is accepted, keeps its default and can never be queried. Copied.
/// \param defaultValue The value when no file sets another.
/// \param toggleFileToken The token of the file that may set the toggle. Must not be null. An
///     unknown token is registered, without a file. Copied.
/// \par Before KLB_Init
/// "KLB_RegisterToggleFile: KLB_Init must be called first." (std::domain_error).
/// \par Errors
/// "registerToggle: toggleKey cannot be NULL.",
/// "registerToggle: toggleFileToken cannot be NULL." (both std::invalid_argument);
/// "registerToggle: <key> already registred in <path>" (std::domain_error; the key belongs to
/// another token's file, and stays there);
/// "getLocalFilePath: cannot get module file name path.", "getProcessDir: Invalid path."
/// (std::runtime_error, always thrown: the executable's directory cannot be found).
/// \par Threads
/// Any; the lock is held while files are read.
KLB_API void KLB_RegisterToggle(const char* toggleKey, bool defaultValue,
                                const char* toggleFileToken);

/// Registers a dynamic toggle: as KLB_RegisterToggle(), but the value may be changed with
/// KLB_SetDynamicToggle() and is read with KLB_GetDynamicToggle().
///
/// \param toggleKey As for KLB_RegisterToggle().
/// \param defaultValue As for KLB_RegisterToggle().
/// \param toggleFileToken As for KLB_RegisterToggle().
/// \par Before KLB_Init
/// As for KLB_RegisterToggle().
/// \par Errors
/// As for KLB_RegisterToggle().
/// \par Threads
/// Any; the lock is held while files are read.
KLB_API void KLB_RegisterDynamicToggle(const char* toggleKey, bool defaultValue,
                                       const char* toggleFileToken);

/// Tells whether a key is registered as a static toggle.
///
/// \param toggleKey The key. Must not be null.
/// \return True for a registered static toggle, false for a dynamic one and for an unknown key.
/// \par Before KLB_Init
/// False, without a message.
/// \par Errors
/// "getToggle: toggleKey cannot be NULL.", thrown as std::invalid_argument even when a callback is
/// installed.
/// \par Threads
/// Any.
KLB_API bool KLB_IsToggleRegistered(const char* toggleKey);

/// Tells whether a key is registered as a dynamic toggle.
///
/// \param toggleKey The key. Must not be null.
/// \return True for a registered dynamic toggle, false for a static one and for an unknown key.
/// \par Before KLB_Init
/// False, without a message.
/// \par Errors
/// As for KLB_IsToggleRegistered().
/// \par Threads
/// Any.
KLB_API bool KLB_IsDynamicToggleRegistered(const char* toggleKey);

/// Returns the value of a static toggle.
///
/// \param toggleKey The key. Must not be null, and must begin with "/".
/// \return The value; false after an error and for a key that was never registered. The latter is
///     no error: an installed callback gets the KLB_MessageType_Warning "getToggle: key, <key>, was
///     not registered. Returning false.", and nothing is thrown.
/// \par Before KLB_Init
/// "KLB_RegisterToggleFile: KLB_Init must be called first." (std::domain_error).
/// \par Errors
/// "getToggle: toggleKey cannot be NULL.",
/// "getToggle: key cannot be an empty string.",
/// "getToggle: key must start with '/' character." (std::invalid_argument);
/// "getToggle: key is a mutable." (std::domain_error; the toggle is dynamic).
/// \par Threads
/// Any. Takes the lock once; allocates nothing but the texts of messages.
KLB_API bool KLB_GetToggle(const char* toggleKey);

/// Returns the current value of a dynamic toggle.
///
/// \param toggleKey As for KLB_GetToggle().
/// \return As for KLB_GetToggle().
/// \par Before KLB_Init
/// As for KLB_GetToggle().
/// \par Errors
/// Those of KLB_GetToggle(), but for its last:
/// "getToggle: key is is immutable after initialization." (std::domain_error; the toggle is
/// static).
/// \par Threads
/// Any. Takes the lock once; allocates nothing but the texts of messages.
KLB_API bool KLB_GetDynamicToggle(const char* toggleKey);

/// Changes the value of a dynamic toggle.
///
/// \param toggleKey The key. Must not be null, and must begin with "/".
/// \param value The new value.
/// \par Before KLB_Init
/// "KLB_RegisterToggleFile: KLB_Init must be called first." (std::domain_error).
/// \par Errors
/// "setDynamicToggle: toggleKey cannot be NULL.",
/// "setDynamicToggle: key cannot be an empty string.",
/// "setDynamicToggle: key must start with '/' character." (std::invalid_argument);
/// "setDynamicToggle: key was not registered as a mutable so it cannot be changed after
/// initialization." (std::domain_error; one line, the key is unknown or static).
/// \par Threads
/// Any.
KLB_API void KLB_SetDynamicToggle(const char* toggleKey, bool value);

/// Adds a comment to a registered toggle, shown by KLB_GetDefaultToggleJson(). A toggle has one
/// comment: the first stays, and a later one is dropped without a message.
///
/// \param toggleKey The key of a static or dynamic toggle. Must not be null, and must begin with
///     "/".
/// \param comment The text, any bytes up to its NUL. Must not be null; may be empty. Copied.
/// \par Before KLB_Init
/// "KLB_AddToggleComment: KLB_Init must be called first." (std::domain_error).
/// \par Errors
/// In this order; the toggle stays as it was:
/// "addToggleProperty: toggleKey cannot be NULL.",
/// "addToggleProperty: key cannot be an empty string.",
/// "addToggleProperty: key must start with '/' character.",
/// "addToggleProperty: propertyValue cannot be NULL." (std::invalid_argument);
/// "addToggleProperty: key, <key>, was not registered. Please call RegisterToggle first."
/// (std::domain_error).
/// \par Threads
/// Any.
KLB_API void KLB_AddToggleComment(const char* toggleKey, const char* comment);

/// Lists the toggles that a toggle file or the override file set to another value than their
/// default, by file: a line "token : path" for each such file, in the order of the tokens' bytes,
/// and below it a line "key : true" or "key : false" for each of its toggles, in the order of the
/// keys' bytes, with its current value. The first line is "DeviceID : " with this computer's device
/// identifier, if KLB_Init() took the system identifier from it. Each line ends with a line feed;
/// nothing is escaped. A dynamic toggle that only the host changed is not listed.
///
/// \param buffer Receives the text; null to ask for the size.
/// \param bufferSize The size of the buffer in bytes.
/// \return A count of bytes, terminating NUL included, as above; 0 when there is nothing to list.
/// \par Before KLB_Init
/// 0, without a message; the buffer is not touched.
/// \par Errors
/// None of its own.
/// \par Threads
/// Any.
KLB_API unsigned long long KLB_GetOverrideInfoString(char* buffer, unsigned long long bufferSize);

/// Describes all registered toggle files and toggles with their defaults as a JSON document,
/// indented by 4 spaces for each level:
/// \code
/// {
///     "KLB_ModuleName": "Editor",
///     "KLB_ModuleVersion": "2.1",
///     "KLB_ToggleFiles": {
///         "editor": {
///             "KLB_ToggleFileType": "KLB_SupportedFeatures",
///             "KLB_ToggleFile": "editor_toggles.json"
///         }
///     },
///     "KLB_Toggles": {
///         "editor": {
///             "fastPath": {
///                 "KLB_DefaultValue": false,
///                 "KLB_IsDynamic": true,
///                 "KLB_ToggleFileToken": "editor",
///                 "KLB_ToggleComment": "since 2.0"
///             }
///         }
///     }
/// }
/// \endcode
/// Toggle files are listed in the order in which their tokens became known, without the override
/// file and without tokens that a toggle named first; toggles in the order of their keys' bytes, as
/// nested objects by the segments of their keys. Left out is a toggle whose key does not begin
/// with "/" or has the name of another toggle's property as a segment below that toggle.
///
/// \param moduleName The name of the asking module, or null to leave it out.
/// \param moduleVersion The version of the asking module, or null to leave it out.
/// \param buffer Receives the text; null to ask for the size.
/// \param bufferSize The size of the buffer in bytes.
/// \return A count of bytes, terminating NUL included; see the report buffers above.
/// \par Before KLB_Init
/// 0, without a message; the buffer is not touched.
/// \par Errors
/// None of its own. std::bad_alloc, with or without a callback, when there is no memory for the
/// document, or when one of its texts has 4 GiB or more; the buffer is not touched. The indentation
/// of a key grows with the square of the number of its segments.
/// \par Threads
/// Any.
KLB_API unsigned long long KLB_GetDefaultToggleJson(const char* moduleName,
                                                    const char* moduleVersion, char* buffer,
                                                    unsigned long long bufferSize);

#endif
