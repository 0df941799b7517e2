#pragma once

/**
 * Decodes a URL-encoded text in place: "%XX" becomes its byte. "+" stays a plus, because base64 passwords carry it.
 * An incomplete or non-hexadecimal escape and "%00" stay as they are (the request filter then refuses the "%").
 */
void EscapeDecodeString(char *pcText);
