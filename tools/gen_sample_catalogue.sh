#!/usr/bin/env bash
# Converts the one-week USGS catalogue in npm's vega-datasets
# (data/earthquakes.json, GeoJSON) into the FDSN text event format at
# data/earthquakes.txt. Needs npm and python3.
#   tools/gen_sample_catalogue.sh [VERSION]   (default 3.2.1)
set -euo pipefail
cd "$(dirname "$0")/.."
version="${1:-3.2.1}"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
(cd "$scratch" && npm pack --silent "vega-datasets@$version" >/dev/null)
tar -xzf "$scratch"/vega-datasets-*.tgz -C "$scratch" package/data/earthquakes.json
python3 - "$scratch/package/data/earthquakes.json" "$version" >data/earthquakes.txt <<'PY'
import json, sys, datetime
doc = json.load(open(sys.argv[1]))
print("#EventID|Time|Latitude|Longitude|Depth/km|Author|Catalog|Contributor|ContributorID|"
      "MagType|Magnitude|MagAuthor|EventLocationName|EventType")
print("# USGS 'All Earthquakes, Past Week' feed as of %s UTC, from vega-datasets %s "
      "(data/earthquakes.json); public domain" % (
          datetime.datetime.utcfromtimestamp(doc["metadata"]["generated"] / 1000).isoformat(),
          sys.argv[2]))
for f in sorted(doc["features"], key=lambda f: f["properties"]["time"]):
    p, (lon, lat, depth) = f["properties"], f["geometry"]["coordinates"]
    t = datetime.datetime.utcfromtimestamp(p["time"] / 1000)
    mag = "" if p["mag"] is None else "%g" % p["mag"]
    place = (p["place"] or "").replace("|", "/")
    net = p["net"] or ""
    print("|".join([f["id"], t.strftime("%Y-%m-%dT%H:%M:%S.") + "%03d" % (p["time"] % 1000),
                    "%g" % lat, "%g" % lon, "%g" % depth, net, "us", net, f["id"],
                    p["magType"] or "", mag, net, place, p["type"] or ""]))
PY
echo "data/earthquakes.txt: $(grep -vc '^#' data/earthquakes.txt) events"
