# Sourced by the crawl benchmarks: serves a generated site of $pages pages with nginx on
# 127.0.0.1 for as long as the script runs. Sets work (a scratch folder, removed at exit),
# site, base (the site's address) and $work/urls.txt (its index, the one start URL).
work=$(mktemp -d "${TMPDIR:-/tmp}/corvane-crawl-bench.XXXXXX")
site=$work/site
trap 'bench/site/nginx-site.sh stop "$site" >/dev/null 2>&1 || true; rm -rf "$work"' EXIT
python3 bench/site/make-site.py "$site" --pages "$pages" >/dev/null
port=$(bench/site/nginx-site.sh start "$site")
base=http://127.0.0.1:$port
echo "$base/index.htm" > "$work/urls.txt"
