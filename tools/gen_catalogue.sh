#!/usr/bin/env bash
# Writes data/catalogue.txt, the sample of kgrqt-plot --catalogue: the USGS
# week of data/earthquakes.txt (made by tools/gen_sample_catalogue.sh) in
# the plain catalogue format, followed by a few large earthquakes with their
# Global CMT moment tensors, typed in from the published solutions (see
# data/README.md for the citations). Needs python3.
#   tools/gen_catalogue.sh
set -euo pipefail
cd "$(dirname "$0")/.."
python3 - data/earthquakes.txt >data/catalogue.txt <<'PY'
import sys

# Hypocentre (USGS: time, latitude, longitude, depth km, magnitude Mw) and
# Global CMT solution: Mrr Mtt Mpp Mrt Mrp Mtp and the exponent of dyne-cm.
TENSORS = [
    ("2011 Tohoku-oki, Japan; GCMT 201103110546A",
     "2011-03-11T05:46:24.12Z 38.297 142.373 29 9.1",
     "1.730 -0.281 -1.450 2.120 4.550 -0.657 29"),
    ("2004 Sumatra-Andaman; GCMT 122604A",
     "2004-12-26T00:58:53.45Z 3.295 95.982 30 9.1",
     "1.040 -0.427 -0.610 2.980 -2.400 0.426 29"),
    ("2023 Pazarcik (Kahramanmaras), Turkey; GCMT C202302060117A",
     "2023-02-06T01:17:34Z 37.226 37.014 10 7.8",
     "-0.37 -5.11 5.48 -1.41 1.35 1.30 27"),
]

print("# kgrqt-plot catalogue: TIME LAT LON DEPTH MAG [MRR MTT MPP MRT MRP MTP EXP]")
print("# TIME ISO 8601 UTC; LAT, LON degrees north and east; DEPTH km; MAG as given.")
print("# Tensor (optional): Global CMT components in the order Mrr Mtt Mpp Mrt Mrp Mtp,")
print("# each times 10^EXP dyne-cm. Made by tools/gen_catalogue.sh; sources in data/README.md.")
print("#")
print("# USGS 'All Earthquakes, Past Week' of 2018-02-07 (public domain), events with a magnitude")
skipped = 0
for line in open(sys.argv[1]):
    if line.startswith("#"):
        continue
    f = line.rstrip("\n").split("|")
    time, lat, lon, depth, mag = f[1], f[2], f[3], f[4], f[10]
    if not mag:
        skipped += 1
        continue
    print("%sZ %s %s %s %s" % (time, lat, lon, depth, mag))
print("#")
print("# Large earthquakes with Global CMT moment tensors (USGS hypocentres)")
for name, hypo, tensor in TENSORS:
    print("# " + name)
    print(hypo + " " + tensor)
if skipped:
    print("%d events without a magnitude left out" % skipped, file=sys.stderr)
PY
echo "data/catalogue.txt: $(grep -vc '^#' data/catalogue.txt) events"
