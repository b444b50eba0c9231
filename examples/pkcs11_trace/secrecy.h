/**
 * What of templates and mechanisms may be read in the log.
 *
 * Values of private objects are logged by their length only. An object counts as private unless it
 * is known to be public: a certificate, public key, hardware feature, mechanism or set of domain
 * parameters that nobody calls private, or a data object that is called public. Private and secret
 * keys are always private. In doubt the values are hidden.
 */
#pragma once

#include <qorvs/cryptoki.h>

/** Writes a template that describes an object to come or to be found. */
void TraceTemplateByItself(const CK_ATTRIBUTE* attributes, CK_ULONG count);

/** The same for a public key, whose template need not name its class. */
void TracePublicKeyTemplate(const CK_ATTRIBUTE* attributes, CK_ULONG count);

/** Writes names and lengths of a private or secret key's template. */
void TraceHiddenTemplate(const CK_ATTRIBUTE* attributes, CK_ULONG count);

/** Writes the new values for an object that exists; asks the real module whether it is private. */
void TraceChanges(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                  const CK_ATTRIBUTE* attributes, CK_ULONG count);

/**
 * Writes what C_GetAttributeValue has put into a template.
 *
 * The real module is asked whether the object is private, but only when there are values to show.
 * After a result that leaves the host's buffers as they were, names and lengths are written.
 */
void TraceAnswers(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                  const CK_ATTRIBUTE* attributes, CK_ULONG count, CK_RV result);

/**
 * Writes a mechanism, without its parameter when that belongs to a password or when nobody knows
 * what it holds: the PBE family and all vendors' own mechanisms.
 */
void TraceMechanismSafely(const CK_MECHANISM* mechanism);
