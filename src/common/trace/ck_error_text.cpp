#include "trace/ck_error_text.h"

#include "trace/name_table.h"
#include "util/fmt_args.h"
#include "util/format_message.h"
#include <qorvs/ck_extensions.h>

// Kept: "Bad argument were", "You dont' have", "already exist and", "need to be mounted",
// "info.plis" and "chanel". Logs are matched on these words.
static constexpr CNameRow kErrorTextRows[] = {
    {CKR_OK, "The operation succeeded."},
    {CKR_CANCEL, "The operation was canceled."},
    {CKR_HOST_MEMORY, "Not enough memory on the host computer."},
    {CKR_SLOT_ID_INVALID, "The selected slot ID is invalid."},
    {CKR_GENERAL_ERROR,
     "An unrecoverable error occurred. This may be due to an inconsistency in the smart card "
     "data."},
    {CKR_FUNCTION_FAILED, "The operation failed for some unknown reason. Please try again."},
    {CKR_ARGUMENTS_BAD, "Bad argument were passed to the function."},
    {CKR_NO_EVENT, "No new slot events to return."},
    {CKR_NEED_TO_CREATE_THREADS,
     "The library cannot function properly without being able to spawn new thread."},
    {CKR_CANT_LOCK,
     "Locking requested by the application for thread-safety is not available in this library."},
    {CKR_ATTRIBUTE_READ_ONLY, "The token object cannot be modified because it is read-only."},
    {CKR_ATTRIBUTE_SENSITIVE, "The token object cannot be read because it is sensitive."},
    {CKR_ATTRIBUTE_TYPE_INVALID, "The object attribute is invalid."},
    {CKR_ATTRIBUTE_VALUE_INVALID, "The value of the object attribute is invalid."},
    {CKR_ACTION_PROHIBITED, "The action cannot be done because it is prohibited by the token."},
    {CKR_DATA_INVALID, "The data is invalid."},
    {CKR_DATA_LEN_RANGE, "The length of the data is inconsistent."},
    {CKR_DEVICE_ERROR, "An error occurred during the communication with the token."},
    {CKR_DEVICE_MEMORY, "There is not enough memory space available in the token."},
    {CKR_DEVICE_REMOVED, "The token has been removed during the operation."},
    {CKR_ENCRYPTED_DATA_INVALID, "The encrypted data is invalid."},
    {CKR_ENCRYPTED_DATA_LEN_RANGE, "The length of the encrypted data is invalid."},
    {0x42, "The authenticity of the encrypted data could not be confirmed."},
    {CKR_FUNCTION_CANCELED, "The operation has been cancelled."},
    {CKR_FUNCTION_NOT_PARALLEL,
     "There is currently no function executing in parallel in the specified session."},
    {CKR_FUNCTION_NOT_SUPPORTED, "The operation is not supported by the token."},
    {CKR_KEY_HANDLE_INVALID, "The specified key handle is not valid."},
    {CKR_KEY_SIZE_RANGE, "The key size is outside of the range supported for this operation."},
    {CKR_KEY_TYPE_INCONSISTENT, "The key types are inconsistent for this operation."},
    {CKR_KEY_NOT_NEEDED, "The key is not needed for this operation."},
    {CKR_KEY_CHANGED, "The key is not the one that was used before."},
    {CKR_KEY_NEEDED, "A key is needed to continue this operation."},
    {CKR_KEY_INDIGESTIBLE, "The value of the key cannot be digested."},
    {CKR_KEY_FUNCTION_NOT_PERMITTED, "The key does not permit this operation."},
    {CKR_KEY_NOT_WRAPPABLE, "The key cannot be wrapped."},
    {CKR_KEY_UNEXTRACTABLE, "The key cannot be extracted from the token."},
    {CKR_MECHANISM_INVALID, "The mechanism is invalid or not supported by the token."},
    {CKR_MECHANISM_PARAM_INVALID, "The parameters of the mechanism are invalid."},
    {CKR_OBJECT_HANDLE_INVALID, "The specified object handle is not valid."},
    {CKR_OPERATION_ACTIVE, "Another operation is already active in the session."},
    {CKR_OPERATION_NOT_INITIALIZED, "The operation has not been initialized."},
    {CKR_PIN_INCORRECT, "The PIN value is incorrect."},
    {CKR_PIN_INVALID, "The PIN does not have the proper format."},
    {CKR_PIN_LEN_RANGE, "The length of the PIN is outside of the range."},
    {CKR_PIN_EXPIRED, "The PIN has expired and needs to be changed."},
    {CKR_PIN_LOCKED, "Due to too many incorrect PINs entered, the card has been locked."},
    {CKR_SESSION_CLOSED, "The session was closed during the operation."},
    {CKR_SESSION_COUNT, "No more sessions can be opened on the token."},
    {CKR_SESSION_HANDLE_INVALID, "The specified session handle is not valid."},
    {CKR_SESSION_PARALLEL_NOT_SUPPORTED, "The token does not support parallel sessions."},
    {CKR_SESSION_READ_ONLY, "The session is read-only."},
    {CKR_SESSION_EXISTS, "A session with the token is still open."},
    {CKR_SESSION_READ_ONLY_EXISTS,
     "The security officer cannot log in while a read-only session is open."},
    {CKR_SESSION_READ_WRITE_SO_EXISTS,
     "A read-only session cannot be opened while the security officer is logged in."},
    {CKR_SIGNATURE_INVALID, "The signature is invalid."},
    {CKR_SIGNATURE_LEN_RANGE, "The length of the signature is invalid."},
    {CKR_TEMPLATE_INCOMPLETE, "The template is incomplete."},
    {CKR_TEMPLATE_INCONSISTENT, "The attributes of the template are inconsistent."},
    {CKR_TOKEN_NOT_PRESENT, "The token has been removed."},
    {CKR_TOKEN_NOT_RECOGNIZED, "The token is not recognized."},
    {CKR_TOKEN_WRITE_PROTECTED, "The token is write-protected."},
    {CKR_UNWRAPPING_KEY_HANDLE_INVALID, "The specified unwrapping key handle is not valid."},
    {CKR_UNWRAPPING_KEY_SIZE_RANGE,
     "The size of the unwrapping key is outside of the range supported for this operation."},
    {CKR_UNWRAPPING_KEY_TYPE_INCONSISTENT,
     "The type of the unwrapping key is inconsistent with the mechanism."},
    {CKR_USER_ALREADY_LOGGED_IN, "The user is already logged in."},
    {CKR_USER_NOT_LOGGED_IN,
     "The appropriate user is not logged in. You dont' have the right to perform this operation."},
    {CKR_USER_PIN_NOT_INITIALIZED, "The user PIN has not been initialized."},
    {CKR_USER_TYPE_INVALID, "The user type is invalid."},
    {CKR_USER_ANOTHER_ALREADY_LOGGED_IN, "Another user is already logged in."},
    {CKR_USER_TOO_MANY_TYPES, "Too many different users are logged in at the same time."},
    {CKR_WRAPPED_KEY_INVALID, "The wrapped key is invalid."},
    {CKR_WRAPPED_KEY_LEN_RANGE, "The length of the wrapped key is invalid."},
    {CKR_WRAPPING_KEY_HANDLE_INVALID, "The specified wrapping key handle is not valid."},
    {CKR_WRAPPING_KEY_SIZE_RANGE,
     "The size of the wrapping key is outside of the range supported for this operation."},
    {CKR_WRAPPING_KEY_TYPE_INCONSISTENT,
     "The type of the wrapping key is inconsistent with the mechanism."},
    {CKR_RANDOM_SEED_NOT_SUPPORTED,
     "The random number generator of the token does not accept a seed."},
    {CKR_RANDOM_NO_RNG, "The token has no random number generator."},
    {CKR_DOMAIN_PARAMS_INVALID, "The domain parameters are invalid or not supported by the token."},
    {CKR_CURVE_NOT_SUPPORTED, "The elliptic curve is not supported by the token."},
    {CKR_BUFFER_TOO_SMALL,
     "The output of the function is too large to fit in the supplied buffer."},
    {CKR_SAVED_STATE_INVALID, "The saved state of the operation is invalid."},
    {CKR_INFORMATION_SENSITIVE, "The information is sensitive and cannot be revealed."},
    {CKR_STATE_UNSAVEABLE, "The state of the operation cannot be saved."},
    {CKR_CRYPTOKI_NOT_INITIALIZED,
     "The function cannot be executed because the Cryptoki library has not yet been initialized by "
     "a call to C_Initialize."},
    {CKR_CRYPTOKI_ALREADY_INITIALIZED, "The Cryptoki library has already been initialized."},
    {CKR_MUTEX_BAD, "The mutex is invalid."},
    {CKR_MUTEX_NOT_LOCKED, "The mutex is not locked."},
    {CKR_NEW_PIN_MODE, "A new PIN has to be set before the operation can continue."},
    {CKR_NEXT_OTP, "The next one-time password is needed to continue the operation."},
    {CKR_EXCEEDED_MAX_ITERATIONS, "The maximum number of iterations has been exceeded."},
    {CKR_FIPS_SELF_TEST_FAILED, "The self-test of the token failed."},
    {CKR_LIBRARY_LOAD_FAILED, "A library that the token depends on could not be loaded."},
    {CKR_PIN_TOO_WEAK, "The PIN is too weak."},
    {CKR_PUBLIC_KEY_INVALID, "The public key is invalid."},
    {CKR_FUNCTION_REJECTED, "The signature request is rejected by the user."},

    // our own range
    {CXR_CONTAINER_INVALID, "The selected container is invalid."},
    {CXR_CONTAINER_EXISTS,
     "The selected container already exist and operation cannot be performed."},
    {CXR_NO_LICENSE_KEY,
     "No valid software license key is available for this card. Please contact your helpdesk to "
     "obtain a genuine software license."},
    {CXR_POSTPONED, "Operation was postponed."},
    {CXR_NEEDS_REMOUNT, "The token need to be mounted again."},
    {CXR_SILENT_MODE, "The minidriver is in silent mode."},
    {CXR_PUK_ALREADY_USED, "The Puk is already used."},
    {CXR_FUNCTION_TIMED_OUT, "The operation timed out."},
    {CXR_PIN_UNBLOCK_BLOCKED,
     "The PIN cannot be unblocked anymore. The maximum number of unlock attempts has been "
     "reached."},
    {CXR_NOT_PERMITTED,
     "Security status not satisfied: the user may not be authenticated, the secure channel might "
     "not be established, or chip authentication may be missing."},
    {CXR_BT_INITIALIZATION_FAILED, "Bluetooth initialization failed."},
    {CXR_BT_NOT_SCANNING, "Bluetooth scan has not been started or has been stopped."},
    {CXR_BT_DEVICE_NOT_SUPPORTED, "The bluetooth peripheral is not supported."},
    {CXR_BT_DEVICE_NOT_DETECTED, "The bluetooth peripheral is not detected."},
    {CXR_BT_ALREADY_PAIRED,
     "The operation is not permitted because a bluetooth peripheral is already paired."},
    {CXR_BT_PERMISSIONS_NOT_GRANTED, "Bluetooth permissions are not granted."},
    {CXR_BT_LOCATION_NOT_ENABLED, "Location parameter is not enabled."},
    {CXR_PACE_NEEDED, "The card needs a Pace before using it."},
    {CXR_AID_NOT_IN_PLIST_FILE,
     "The AID of the card is not recognized, please be sure to add the correct card AID in the "
     "info.plis file."},
    {CXR_MISSING_FINGERPRINT_SCANNER, "A fingerprint scanner is needed for this operation."},
    {CXR_SIGNATURE_TIMESTAMP, "Timestamping step of the signature failed."},
    {CXR_PAIRING_CODE_NEEDED, "The card needs a pairing code verification before using it."},
    {CXR_CERT_NOT_TRUSTED,
     "The certificate has not been approved by an authority from the trusted zone."},
    {CXR_BROKEN_AUTHENTICATION, "Secure chanel is broken."},
};

static constexpr CNameTable kErrorTexts = MakeNameTable<kErrorTextRows>();

// Upper-case digits of the whole number, at least eight.
static CUTF8String FormatHexCode(CK_RV code) {
    char digits[2 * sizeof(code) + 1];
    char* first = digits + sizeof(digits) - 1;
    *first = '\0';
    for (size_t count = 0; code != 0 || count < 8; ++count) {
        *--first = "0123456789ABCDEF"[code & 0x0F];
        code >>= 4;
    }
    return first;
}

CUTF8String GetCkErrorText(CK_RV code) {
    if (const char* sentence = kErrorTexts.Find(code)) {
        return sentence;
    }
    CUTF8FmtArgs args;
    args << FormatHexCode(code);
    return FormatMessage(CUTF8String("Code 0x%1"), args);
}
