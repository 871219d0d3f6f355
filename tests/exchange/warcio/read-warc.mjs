// Reads a WARC file with warcio (an independent implementation) and prints, as JSON, every
// record's type, target URI, HTTP status and payload (base64), and whether its payload and
// block digests hold. The block digests are checked on a second, plain pass over the
// unpacked file, so that they do not depend on how warcio splits a block.
//   node read-warc.mjs FILE
import { WARCParser } from "warcio";
import { createHash } from "node:crypto";
import { createReadStream, readFileSync } from "node:fs";
import { gunzipSync } from "node:zlib";

const file = process.argv[2];

function base32(bytes) {
  const alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567";
  let bits = 0, value = 0, out = "";
  for (const byte of bytes) {
    value = (value << 8) | byte;
    bits += 8;
    while (bits >= 5) {
      out += alphabet[(value >>> (bits - 5)) & 31];
      bits -= 5;
    }
  }
  if (bits > 0) out += alphabet[(value << (5 - bits)) & 31];
  return out;
}
const sha1 = (bytes) => "sha1:" + base32(createHash("sha1").update(bytes).digest());

const records = [];
for await (const record of new WARCParser(createReadStream(file))) {
  const payload = Buffer.from(await record.readFully(false));
  const expected = record.warcHeader("WARC-Payload-Digest");
  records.push({
    type: record.warcType,
    uri: record.warcTargetURI || "",
    status: record.httpHeaders ? record.httpHeaders.statusCode : 0,
    payload: payload.toString("base64"),
    payloadDigestOk: expected ? expected === sha1(payload) : null,
  });
}

// The plain pass: records one after the other, each block Content-Length bytes long.
let data = readFileSync(file);
if (data[0] === 0x1f && data[1] === 0x8b) data = gunzipSync(data);
let at = 0, index = 0;
while (at < data.length && index < records.length) {
  const end = data.indexOf("\r\n\r\n", at);
  const head = data.subarray(at, end).toString("latin1");
  const field = (name) => {
    const match = head.match(new RegExp("^" + name + ":\\s*(.*)$", "mi"));
    return match ? match[1].trim() : null;
  };
  const length = Number(field("Content-Length"));
  const block = data.subarray(end + 4, end + 4 + length);
  const expected = field("WARC-Block-Digest");
  records[index].blockDigestOk = expected ? expected === sha1(block) : null;
  at = end + 4 + length + 4;
  ++index;
}
process.stdout.write(JSON.stringify(records));
