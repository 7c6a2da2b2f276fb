// Requests to the console's API: JSON answers, their errors and their warnings.

// An answer other than 2xx: the HTTP status and the server's message.
export class ApiError extends Error {
  constructor(status, message) {
    super(message);
    this.status = status;
  }
}

const SIGN_IN =
    'This browser has no valid token for the console. As root on the appliance, run ' +
    '"sarvik-web --url" and open the address it prints.';

// The message to show for a failed request.
export function errorText(error) {
  if (error instanceof ApiError && error.status === 401) return SIGN_IN;
  if (error instanceof ApiError) return error.message;
  return 'The console could not be reached: ' + error.message;
}

export function isAbort(error) {
  return error && error.name === 'AbortError';
}

// GETs `path` with `params` and returns the parsed JSON answer; throws ApiError for an answer
// that is not 2xx (with the server's "error" text when it gave one), and the fetch's own error
// when the request was aborted through `signal` or never answered.
export async function getJSON(path, params, signal) {
  const response = await fetch(path + '?' + params.toString(), {
    signal,
    credentials: 'same-origin',
    headers: {Accept: 'application/json'},
  });
  let body = null;
  try {
    body = await response.json();
  } catch (error) {
    if (isAbort(error)) throw error;
  }
  if (!response.ok) {
    const message = body && typeof body.error === 'string' ?
        body.error :
        `${response.status} ${response.statusText}`.trim();
    throw new ApiError(response.status, message);
  }
  if (body === null) throw new ApiError(response.status, 'The answer was not JSON.');
  return body;
}
