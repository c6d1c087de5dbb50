// Loaded into s3rver before it starts. By itself it writes an object in place and answers
// before all of it is in the file; killed then, it keeps half an object. Stores that hold
// photos keep an object whole or not at all, and so does this one with what is below.
'use strict';

const crypto = require('crypto');
const fs = require('fs/promises');
const { createWriteStream } = require('fs');
const path = require('path');
const { pipeline } = require('stream/promises');

const Store = require(path.join(process.env.S3RVER, 'lib/stores/filesystem.js'));

Store.prototype.putObject = async function (object) {
    const file = this.getResourcePath(object.bucket, object.key, 'object');
    const parts = `${this.rootDirectory}.parts`;
    const part = path.join(parts, crypto.randomUUID());
    const hash = crypto.createHash('md5');
    let size = 0;
    const source = Buffer.isBuffer(object.content) ? [object.content] : object.content;
    await fs.mkdir(parts, { recursive: true });
    await pipeline(source, async function* (chunks) {
        for await (const chunk of chunks) {
            hash.update(chunk);
            size += chunk.length;
            yield chunk;
        }
    }, createWriteStream(part));
    await fs.mkdir(path.dirname(file), { recursive: true });
    await fs.rename(part, file);
    const md5 = hash.digest('hex');
    await this.putMetadata(object.bucket, object.key, object.metadata, md5);
    return { size, md5 };
};
