// The HTTP transport over Foundation's URL session. Compiled with automatic reference
// counting: the session, the delegate and the semaphore are released by the compiler on
// every path out of the autorelease scope.
#include "Platform/HttpTransport.hpp"

#include "BackgroundWork.hpp"

#import <Foundation/Foundation.h>

#include <utility>

#if !__has_feature(objc_arc)
#error "HttpTransportMac.mm must be compiled with -fobjc-arc"
#endif

// Forwards the session's upload progress to the caller's callback, with the body length the
// caller gave as the total: the session's own expected-total figure can be unknown.
@interface VLMUploadProgressDelegate : NSObject <NSURLSessionDelegate, NSURLSessionTaskDelegate>
@property(nonatomic) Velmora::HttpProgressCallback onProgress;
@property(nonatomic) std::uint64_t total;
- (instancetype)initWithProgress:(Velmora::HttpProgressCallback)onProgress
                           total:(std::uint64_t)total;
@end

@implementation VLMUploadProgressDelegate

- (instancetype)initWithProgress:(Velmora::HttpProgressCallback)onProgress
                           total:(std::uint64_t)total {
    self = [super init];
    if (self != nil) {
        _onProgress = std::move(onProgress);
        _total = total;
    }
    return self;
}

- (void)URLSession:(NSURLSession*)session
                        task:(NSURLSessionTask*)task
             didSendBodyData:(int64_t)bytesSent
              totalBytesSent:(int64_t)totalBytesSent
    totalBytesExpectedToSend:(int64_t)totalBytesExpectedToSend {
    (void)session;
    (void)task;
    (void)bytesSent;
    (void)totalBytesExpectedToSend;
    if (totalBytesSent >= 0 && _onProgress)
        _onProgress(static_cast<std::uint64_t>(totalBytesSent), _total);
}

@end

namespace Velmora {
namespace {

// Written by the completion handler before it signals, read by the caller after the wait.
struct SendOutcome {
    bool success = false;
    long status = 0;
    std::string body;
    std::string error;
};

NSString* MakeString(std::string const& text) {
    return [[NSString alloc] initWithBytes:text.data()
                                    length:text.size()
                                  encoding:NSUTF8StringEncoding];
}

std::string ToStdString(NSString* text) {
    char const* const utf8 = text != nil ? [text UTF8String] : nullptr;
    return utf8 != nullptr ? std::string(utf8) : std::string();
}

NSMutableURLRequest* BuildRequest(NSURL* endpoint, std::string const& method,
                                  std::string const& bearerToken, std::string const& contentType) {
    NSMutableURLRequest* request =
        [NSMutableURLRequest requestWithURL:endpoint
                                cachePolicy:NSURLRequestUseProtocolCachePolicy
                            timeoutInterval:kHttpRequestTimeoutSeconds];
    request.HTTPMethod = MakeString(method);
    [request setValue:MakeString(contentType) forHTTPHeaderField:@"Content-Type"];
    if (!bearerToken.empty()) {
        [request setValue:[NSString stringWithFormat:@"Bearer %s", bearerToken.c_str()]
            forHTTPHeaderField:@"Authorization"];
    }
    [request setValue:@(kHttpUserAgent) forHTTPHeaderField:@"User-Agent"];
    return request;
}

NSURLSession* MakeSession(std::size_t bodyLen, HttpProgressCallback const& onProgress) {
    NSURLSessionConfiguration* configuration =
        [NSURLSessionConfiguration ephemeralSessionConfiguration];
    configuration.timeoutIntervalForRequest = kHttpRequestTimeoutSeconds;
    configuration.timeoutIntervalForResource = HttpResourceTimeoutSeconds(bodyLen);
    VLMUploadProgressDelegate* delegate =
        [[VLMUploadProgressDelegate alloc] initWithProgress:onProgress total:bodyLen];
    // The session keeps its delegate until it is invalidated.
    return [NSURLSession sessionWithConfiguration:configuration
                                         delegate:delegate
                                    delegateQueue:nil];
}

void RecordCompletion(SendOutcome& outcome, NSData* data, NSURLResponse* response, NSError* error) {
    if (error != nil) {
        outcome.error = ToStdString([NSString stringWithFormat:@"%@ %ld (%@)", error.domain,
                                                               static_cast<long>(error.code),
                                                               error.localizedDescription]);
        return;
    }
    outcome.success = true;
    if ([response isKindOfClass:[NSHTTPURLResponse class]]) {
        id const anyResponse = response;
        NSHTTPURLResponse* http = anyResponse;
        outcome.status = static_cast<long>(http.statusCode);
    }
    if (data != nil && data.length > 0)
        outcome.body.assign(static_cast<char const*>(data.bytes), data.length);
}

} // namespace

constexpr std::int64_t kStopCheckNs = 100 * static_cast<std::int64_t>(NSEC_PER_MSEC);

bool MacHttpSend(std::string const& method, std::string const& url, std::string const& bearerToken,
                 std::string const& contentType, void const* body, std::size_t bodyLen,
                 HttpProgressCallback const& onProgress, long& outStatus, std::string& outBody,
                 std::string& outErr) {
    outStatus = 0;
    outBody.clear();
    outErr.clear();
    @autoreleasepool {
        NSString* urlText = MakeString(url);
        NSURL* endpoint = urlText != nil ? [NSURL URLWithString:urlText] : nil;
        if (endpoint == nil) {
            outErr = kHttpUrlUnparseable;
            return false;
        }
        NSMutableURLRequest* request = BuildRequest(endpoint, method, bearerToken, contentType);
        // Wraps the caller's bytes: no copy, and the wrapper never frees them.
        NSData* bodyData = bodyLen > 0 ? [NSData dataWithBytesNoCopy:const_cast<void*>(body)
                                                              length:bodyLen
                                                        freeWhenDone:NO]
                                       : [NSData data];
        NSURLSession* session = MakeSession(bodyLen, onProgress);
        SendOutcome outcome;
        SendOutcome* const shared = &outcome; // alive: the caller waits for the handler
        dispatch_semaphore_t done = dispatch_semaphore_create(0);
        NSURLSessionUploadTask* task = [session
            uploadTaskWithRequest:request
                         fromData:bodyData
                completionHandler:^(NSData* data, NSURLResponse* response, NSError* error) {
                  RecordCompletion(*shared, data, response, error);
                  dispatch_semaphore_signal(done);
                }];
        [task resume];
        // A thread told to stop cancels the task; its completion handler still runs.
        bool cancelled = false;
        while (dispatch_semaphore_wait(done, dispatch_time(DISPATCH_TIME_NOW, kStopCheckNs)) != 0) {
            if (!cancelled && BackgroundWork::StopRequested()) {
                [task cancel];
                cancelled = true;
            }
        }
        [session finishTasksAndInvalidate];
        outStatus = outcome.status;
        outBody = std::move(outcome.body);
        outErr = std::move(outcome.error);
        return outcome.success;
    }
}

} // namespace Velmora
