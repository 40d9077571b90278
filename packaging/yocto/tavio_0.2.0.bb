SUMMARY = "Menu and value back end of a router's front-panel display"
DESCRIPTION = "For every exchange the display process writes a request document and \
starts tavio once, which gathers the values from the local web API, the configuration \
files and the power units, lays them out for the panel and writes a response document."
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=aa448ffc66a903653ef5e706ad504044"

# A release tarball made with `git archive --prefix=tavio-${PV}/` (README.md). Set
# TAVIO_SITE (local.conf or a bbappend) to where your project keeps it, and add its
# SRC_URI[sha256sum] (the first fetch prints the line to add).
TAVIO_SITE ??= "https://downloads.example.com/tavio"
SRC_URI = "${TAVIO_SITE}/tavio-${PV}.tar.gz"

DEPENDS = "jansson"

inherit cmake pkgconfig

# A firmware build: no tests, the off-router root prefix compiled out.
EXTRA_OECMAKE = "-DTAVIO_TESTS=OFF -DTAVIO_ROOT_OVERRIDE=OFF"
# The local API through wget_https; with PACKAGECONFIG:append:pn-tavio = " http" tavio speaks
# HTTP to it itself (the image's API server must speak plain HTTP on 127.0.0.1).
PACKAGECONFIG ??= ""
PACKAGECONFIG[http] = "-DTAVIO_API_TRANSPORT=http,-DTAVIO_API_TRANSPORT=tool"

# The program in the image; the documents' schemas in a package of their own for the
# display process's build (the manual page goes to ${PN}-doc as usual).
PACKAGES =+ "${PN}-schemas"
FILES:${PN} = "${bindir}/tavio"
FILES:${PN}-schemas = "${datadir}/tavio/schemas"
