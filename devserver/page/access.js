// From another machine the page is opened with the server's token behind its address, and passes it on.

const token = new URLSearchParams(location.search).get('token');

/// The address of something of the server, where no header can be sent.
export const withToken = (target) => token ? `${target}?token=${encodeURIComponent(token)}` : target;

/// Heads of a request to the server.
export const authorization = token ? {Authorization: `Bearer ${token}`} : {};
