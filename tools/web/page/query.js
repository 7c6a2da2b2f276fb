// The query: what the filter bar, the page's address and the API share, by the API's own names.

export const KINDS = ['access', 'system', 'alert'];

// The filters that may be repeated (values of one are alternatives), in the order of the bar.
export const FIELDS = ['user', 'host', 'ip', 'share', 'op', 'result', 'path', 'text', 'grep'];

// The fields that each log has; `grep` goes with every log.
const KIND_FIELDS = {
  access: ['user', 'host', 'ip', 'share', 'op', 'result', 'path', 'grep'],
  alert: ['user', 'host', 'ip', 'share', 'op', 'result', 'path', 'grep'],
  system: ['text', 'grep'],
};

export function fieldsOf(kind) {
  return KIND_FIELDS[kind] || KIND_FIELDS.access;
}

// Rule replay goes with the logs of access events only.
export function hasRules(kind) {
  return kind !== 'system';
}

// An empty query: the access log, all of it.
export function emptyQuery() {
  const values = {};
  for (const field of FIELDS) values[field] = [];
  return {kind: 'access', since: '', until: '', values, rule: [], rules: false, follow: false};
}

function flag(value) {
  return value === '1' || value === 'true';
}

// The query that a page address's search part holds. Names the page does not know are left out.
export function parseQuery(search) {
  const params = new URLSearchParams(search);
  const query = emptyQuery();
  const kind = params.get('kind');
  if (kind !== null) query.kind = kind;
  query.since = params.get('since') || '';
  query.until = params.get('until') || '';
  for (const field of FIELDS) query.values[field] = params.getAll(field).filter((v) => v !== '');
  query.rule = params.getAll('rule').filter((v) => v !== '');
  query.rules = flag(params.get('rules'));
  query.follow = flag(params.get('follow'));
  return query;
}

// The API's parameters of the query's filter (no paging, no follow).
export function filterParams(query, {withTime = true} = {}) {
  const params = new URLSearchParams();
  params.set('kind', query.kind);
  if (withTime && query.since) params.set('since', query.since);
  if (withTime && query.until) params.set('until', query.until);
  for (const field of fieldsOf(query.kind)) {
    for (const value of query.values[field]) params.append(field, value);
  }
  if (hasRules(query.kind)) {
    if (query.rules) params.set('rules', '1');
    else for (const name of query.rule) params.append('rule', name);
  }
  return params;
}

// The page's own address for the query: the filter's parameters, and `follow` when live.
export function queryString(query) {
  const params = filterParams(query);
  if (query.follow) params.set('follow', '1');
  return '?' + params.toString();
}

export function sameQuery(a, b) {
  return queryString(a) === queryString(b);
}

export function copyQuery(query) {
  return JSON.parse(JSON.stringify(query));
}

// The value of a counted field as a filter takes it: a result "fail (reason)" is the filter
// "fail".
export function filterValue(field, value) {
  if (field === 'result' && value.startsWith('fail')) return 'fail';
  return value;
}

// The time range of histogram buckets `first` to `last` (their labels, "2024-03-04" or
// "2024-03-04 13:00"), as since and until in the forms the API reads.
export function bucketRange(interval, first, last) {
  if (interval === 'hour') {
    return {since: first, until: last.slice(0, 13) + ':59:59'};
  }
  return {since: first, until: last + ' 23:59:59'};
}
